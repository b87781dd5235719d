// SPDX-License-Identifier: GPL-3.0-or-later
// A simulated host of a test's own: a temporary state directory, programs run in it, and what
// reached its controllers.
#ifndef TRX_TESTS_SIM_HOST_H
#define TRX_TESTS_SIM_HOST_H

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace trx::test {

using Words = std::vector<std::string>;

/// An unnamed file that others can read from or write to.
class Scratch {
 public:
  Scratch();
  ~Scratch() { std::fclose(file_); }
  Scratch &operator=(Scratch &&) = delete;

  int descriptor() const { return fileno(file_); }
  void put(const std::string &text) const;
  std::string content() const;

 private:
  std::FILE *file_;
};

struct Outcome {
  int status;  ///< exit status, or 128 + signal
  std::string out, err;
};

Outcome runProgram(const Words &words, const std::string &input = {});

class SimHost {
 public:
  /// `topology` is the name of a file in sim/topologies (without .json) or a path. The frozen default
  /// lists the same at any time: its background activities stand still.
  explicit SimHost(const std::string &topology = "frozen");
  ~SimHost();
  SimHost &operator=(SimHost &&) = delete;

  Outcome cli(const Words &words, const std::string &input = {});

  /// Run a verb of trx_sim on this host's state; `line` may have more words than it.
  Outcome sim(const std::string &line, const Words &words = {});

  /// The words that start a program in this host.
  Words runWords(const Words &program) const;

  /// Exchanges since the last call, a line each, as the simulator traces them.
  Words traffic();

  /// A correct program leaves this empty.
  std::string violations() const;

  const std::filesystem::path &directory() const { return directory_; }
  /// A text in which "@" stands for the directory.
  std::string placed(const std::string &text) const;
  std::filesystem::path traceFile() const { return directory_ / "trace.txt"; }
  std::filesystem::path stateDirectory() const { return directory_ / "state"; }

 private:
  std::filesystem::path directory_;
  size_t traceRead_ = 0;
};

std::string readFile(const std::filesystem::path &path);

Words wordsOf(const std::string &line);

}  // namespace trx::test

#endif  // TRX_TESTS_SIM_HOST_H
