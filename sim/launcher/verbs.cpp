// SPDX-License-Identifier: GPL-3.0-or-later
#include "launcher/verbs.h"

#include <cstdio>
#include <cstdlib>

#include "host/directory.h"
#include "host/faults.h"
#include "launcher/hands.h"
#include "model/restart.h"
#include "model/state_file.h"
#include "topology/topology.h"

namespace sim {
namespace {

int printHelp(const Arguments &) {
  std::printf("trx_sim starts programs in a simulated host.\n\n");
  for (const Verb &verb : verbs())
    std::printf("  trx_sim %s %s\n      %s\n", verb.word, verb.arguments, verb.help);
  std::printf(
      "\nThe state directory is --state, else $TRX_SIM_STATE, else\n"
      "${XDG_STATE_HOME:-$HOME/.local/state}/trx_sim. Without --topology a host with two adapters is made.\n"
      "\nfault add takes words: %s",
      faultHelp().c_str());
  std::printf("smart takes keys:\n%s", smartHelp().c_str());
  return 0;
}

// clang-format off
constexpr Verb kVerbs[] = {
    {"run",     "[--state DIR] [--topology FILE] [--trace FILE] -- PROGRAM [ARGUMENT...]",
                "runs a program in the simulated host", runProgram},
    {"reset",   "[--state DIR] [--topology FILE]", "starts the simulated host afresh", resetHost},
    {"show",    "[--state DIR]", "prints the whole state", showHost},
    {"fault",   "[--state DIR] add WORD... | list | clear", "arms faults, lists or disarms them", faultVerb},
    {"advance", "[--state DIR] SECONDS", "moves the clock of a host whose clock stands still", advanceVerb},
    {"pull",    "[--state DIR] PD [ADAPTER]", "takes a disk out; its volumes lose a member", pullDisk},
    {"insert",  "[--state DIR] PD [--serial TEXT] [ADAPTER]",
                "puts it back, sound, as a spare; with --serial, a new one of its make", insertDisk},
    {"fail",    "[--state DIR] PD [ADAPTER]", "breaks a disk; its volumes lose a member", failVerb},
    {"smart",   "[--state DIR] PD KEY=VALUE... [ADAPTER]", "sets SMART values of a disk", smartVerb},
    {"latency", "[--state DIR] MILLISECONDS [ADAPTER]", "each exchange takes that long from now on; 0: none", latencyVerb},
    {"restart", "[--state DIR]", "cycles the power: what waits for a reset happens", restartVerb},
    {"image",   "FILE [--size BYTES] [--version A.B.C.D] [--revision TEXT] [--bad-sum]",
                "writes a firmware image for a controller or a disk", imageVerb},
    {"pcie",    "[--state DIR] PD ok|timeout|retry|unsupported|abort|stuck [ADAPTER]",
                "says how a disk answers reads of its PCIe configuration space", pcieVerb},
    {"lspci",   "[--state DIR]", "prints the simulated adapters as the host's lspci does", printLspci},
    {"record",  "FILE [--mask-serials] -- PROGRAM [ARGUMENT...]",
                "runs a program on this machine, and writes what it and the platform library tell each other to FILE", recordProgram},
    {"replay",  "FILE -- PROGRAM [ARGUMENT...]", "runs a program with the answers of a recording", replayProgram},
    {"help",    "", "prints this", printHelp},
};
// clang-format on

std::string defaultState() {
  if (const char *state = std::getenv("TRX_SIM_STATE"); state && *state) return state;
  if (const char *base = std::getenv("XDG_STATE_HOME"); base && *base) return std::string(base) + "/trx_sim";
  const char *home = std::getenv("HOME");
  if (!home || !*home) throw UsageError("no state directory: give --state, or set HOME");
  return std::string(home) + "/.local/state/trx_sim";
}

constexpr std::string_view kMaskSerials = "--mask-serials";

std::string *optionPlace(Arguments &arguments, const std::string &word) {
  if (word == "--state") return &arguments.state;
  if (word == "--topology") return &arguments.topology;
  if (word == "--trace") return &arguments.trace;
  return nullptr;
}

/// Options stand before the first other word; "--" ends them.
Arguments parseArguments(const std::vector<std::string> &words) {
  Arguments arguments;
  size_t i = 1;
  for (; i < words.size() && words[i].starts_with("--"); i += 2) {
    if (words[i] == "--") {
      ++i;
      break;
    }
    if (words[i] == kMaskSerials && words[0] == "record") {
      arguments.maskSerials = true;
      --i;
      continue;
    }
    std::string *place = optionPlace(arguments, words[i]);
    if (!place) throw UsageError("option '" + words[i] + "' is not known");
    if (i + 1 == words.size()) throw UsageError("option " + words[i] + " needs a value");
    *place = words[i + 1];
  }
  arguments.words.assign(words.begin() + static_cast<std::ptrdiff_t>(std::min(i, words.size())), words.end());
  if (arguments.state.empty()) arguments.state = defaultState();
  return arguments;
}

std::string askedTopology(const Arguments &arguments) {
  if (arguments.topology.empty()) return defaultTopology();
  bool exists = false;
  std::string text = readText(arguments.topology, exists);
  if (!exists) throw HostError(arguments.topology + ": no such file");
  return text;
}

void makeHost(const Arguments &arguments, Replace replace) {
  HostPlan plan;
  try {
    plan = parseTopology(askedTopology(arguments));
  } catch (const HostError &error) {
    if (arguments.topology.empty()) throw;
    throw HostError(arguments.topology + ": " + error.what());
  }
  createHost(arguments.state, plan, replace);
}

void noWords(const Arguments &arguments, const char *verb) {
  if (!arguments.words.empty())
    throw UsageError(std::string(verb) + ": '" + arguments.words.front() + "' is not expected");
}

}  // namespace

std::span<const Verb> verbs() { return kVerbs; }

void ensureHost(const Arguments &arguments) {
  if (!hostExists(arguments.state)) return makeHost(arguments, Replace::No);
  if (arguments.topology.empty() || askedTopology(arguments) == topologyText(arguments.state)) return;
  throw HostError(
      arguments.state +
      " holds a host of another topology; to start afresh from this one:\n  trx_sim reset --state " +
      arguments.state + " --topology " + arguments.topology);
}

FileAndProgram fileAndProgram(const Arguments &arguments, const std::string &verb) {
  const std::vector<std::string> &words = arguments.words;
  if (words.empty()) throw UsageError(verb + ": say which file");
  size_t i = 1;
  bool mask = arguments.maskSerials;
  for (; verb == "record" && i < words.size() && words[i] == kMaskSerials; ++i) mask = true;
  if (i < words.size() && words[i] == "--") ++i;
  if (i == words.size()) throw UsageError(verb + ": say which program");
  return {words[0], mask, {words.begin() + static_cast<std::ptrdiff_t>(i), words.end()}};
}

int resetHost(const Arguments &arguments) {
  noWords(arguments, "reset");
  makeHost(arguments, Replace::Yes);
  return 0;
}

int faultVerb(const Arguments &arguments) {
  if (arguments.words.empty()) throw UsageError("fault: say add, list or clear");
  std::vector<std::string> rest(arguments.words.begin() + 1, arguments.words.end());
  const std::string &action = arguments.words.front();
  ensureHost(arguments);
  if (action == "add") {
    addFault(arguments.state, parseFault(rest));
  } else if (action == "list" && rest.empty()) {
    for (const Fault &fault : listFaults(arguments.state)) std::printf("%s\n", faultText(fault).c_str());
  } else if (action == "clear" && rest.empty()) {
    clearFaults(arguments.state);
  } else {
    throw UsageError("fault: say add WORD..., list or clear");
  }
  return 0;
}

int advanceVerb(const Arguments &arguments) {
  if (arguments.words.size() != 1) throw UsageError("advance: say how many seconds");
  char *end = nullptr;
  long seconds = std::strtol(arguments.words[0].c_str(), &end, 10);
  if (*end != '\0' || arguments.words[0].empty() || seconds < 0 || seconds > 1'000'000'000)
    throw UsageError("advance: '" + arguments.words[0] + "' is not a number of seconds");
  ensureHost(arguments);
  advanceClock(arguments.state, Millis{seconds} * 1000);
  return 0;
}

int latencyVerb(const Arguments &arguments) {
  Words words = arguments.words;
  if (words.empty() || words.size() > 2)
    throw UsageError("latency: say how many milliseconds, and perhaps which adapter");
  const auto millis = static_cast<uint32_t>(numberFrom("latency", words[0], kLongestLatency));
  return handleAdapter(arguments, "latency", {words.begin() + 1, words.end()},
                       [millis](Session &session) { session.change().core.latencyMillis = millis; });
}

int restartVerb(const Arguments &arguments) {
  noWords(arguments, "restart");
  ensureHost(arguments);
  for (const std::string &name : adapterNames(arguments.state)) {
    AdapterFiles files(arguments.state, name);
    Session session(files);
    restart(session);
    session.commit();
  }
  return 0;
}

int launch(const std::vector<std::string> &words) {
  try {
    if (words.empty()) throw UsageError("say what to do");
    std::string word = words[0] == "--help" || words[0] == "-h" ? "help" : words[0];
    for (const Verb &verb : verbs())
      if (word == verb.word) return verb.run(parseArguments(words));
    throw UsageError("'" + words[0] + "' is not a verb");
  } catch (const UsageError &error) {
    std::fprintf(stderr, "trx_sim: %s\nTry 'trx_sim help'.\n", error.what());
  } catch (const std::exception &error) {
    std::fprintf(stderr, "trx_sim: %s\n", error.what());
  }
  return 2;
}

}  // namespace sim
