// SPDX-License-Identifier: GPL-3.0-or-later
#include "SimHost.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

extern char **environ;

namespace trx::test {
Scratch::Scratch() : file_(std::tmpfile()) {
  if (!file_) throw std::runtime_error("no temporary file");
}

void Scratch::put(const std::string &text) const {
  if (write(descriptor(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) std::abort();
  lseek(descriptor(), 0, SEEK_SET);
}

std::string Scratch::content() const {
  std::string text(static_cast<size_t>(lseek(descriptor(), 0, SEEK_END)), '\0');
  if (pread(descriptor(), text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) std::abort();
  return text;
}

Outcome runProgram(const Words &words, const std::string &input) {
  Scratch in, out, err;
  in.put(input);
  std::vector<char *> argv;
  for (const std::string &word : words) argv.push_back(const_cast<char *>(word.c_str()));
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in.descriptor(), 0);
  posix_spawn_file_actions_adddup2(&actions, out.descriptor(), 1);
  posix_spawn_file_actions_adddup2(&actions, err.descriptor(), 2);
  pid_t pid;
  int failed = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed) throw std::runtime_error("cannot start " + words[0]);

  int status;
  waitpid(pid, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), out.content(), err.content()};
}

SimHost::SimHost(const std::string &topology) {
  std::string pattern = (std::filesystem::temp_directory_path() / "trx-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary directory");
  directory_ = pattern;
  bool isPath = topology.find('/') != std::string::npos;
  std::string path = isPath ? topology : TRX_TOPOLOGY_DIR "/" + topology + ".json";
  Outcome made = sim("reset", {"--topology", path});
  if (made.status != 0) throw std::runtime_error("trx_sim reset: " + made.err);
}

SimHost::~SimHost() {
  sim("reset");  // takes the host's semaphores with it
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

Outcome SimHost::cli(const Words &words, const std::string &input) {
  Words program{TRX_CLI_PATH};
  program.insert(program.end(), words.begin(), words.end());
  return runProgram(runWords(program), input);
}

Outcome SimHost::sim(const std::string &verb, const Words &words) {
  Words program{TRX_SIM_PATH, verb, "--state", stateDirectory()};
  program.insert(program.end(), words.begin(), words.end());
  return runProgram(program);
}

Words SimHost::runWords(const Words &program) const {
  Words words{TRX_SIM_PATH, "run", "--state", stateDirectory(), "--trace", traceFile(), "--"};
  words.insert(words.end(), program.begin(), program.end());
  return words;
}

Words wordsOf(const std::string &line) {
  std::istringstream words(line);
  return {std::istream_iterator<std::string>(words), {}};
}

Words SimHost::traffic() {
  std::istringstream text(readFile(traceFile()).substr(traceRead_));
  Words lines;
  for (std::string line; std::getline(text, line); traceRead_ += line.size() + 1) lines.push_back(line);
  return lines;
}

std::string SimHost::violations() const { return readFile(stateDirectory() / "violations.log"); }

std::string readFile(const std::filesystem::path &path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace trx::test
