// SPDX-License-Identifier: GPL-3.0-or-later
// The verbs of trx_sim. To add one, write its function and give it a row in verbs.cpp.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "files/files.h"

namespace sim {

/// The words of a command line after the verb, and the options that every verb may have.
struct Arguments {
  std::string state;     ///< --state, or the default directory
  std::string topology;  ///< --topology, or empty
  std::string trace;     ///< --trace, or empty
  bool maskSerials = false;
  std::vector<std::string> words;
};

struct Verb {
  const char *word;
  const char *arguments;
  const char *help;
  int (*run)(const Arguments &);
};

std::span<const Verb> verbs();

/// A mistake on the command line, as against one of the host: it is answered with exit status 2 too,
/// and a pointer to the help.
struct UsageError : HostError {
  using HostError::HostError;
};

int runProgram(const Arguments &arguments);
int resetHost(const Arguments &arguments);
int showHost(const Arguments &arguments);
int faultVerb(const Arguments &arguments);
int advanceVerb(const Arguments &arguments);
int failVerb(const Arguments &arguments);
int smartVerb(const Arguments &arguments);
int latencyVerb(const Arguments &arguments);
std::string smartHelp();
int pullDisk(const Arguments &arguments);
int insertDisk(const Arguments &arguments);
int restartVerb(const Arguments &arguments);
int imageVerb(const Arguments &arguments);
int pcieVerb(const Arguments &arguments);
int printLspci(const Arguments &arguments);
int recordProgram(const Arguments &arguments);
int replayProgram(const Arguments &arguments);

/// What record and replay are given: FILE [--mask-serials] [--] PROGRAM [ARGUMENT...].
struct FileAndProgram {
  std::string file;
  bool maskSerials;
  std::vector<std::string> program;
};
FileAndProgram fileAndProgram(const Arguments &arguments, const std::string &verb);

/// Makes the host of the state directory when there is none, from the topology asked for.
void ensureHost(const Arguments &arguments);

/// Parses and runs a whole command line (without the program's name).
int launch(const std::vector<std::string> &words);

}  // namespace sim
