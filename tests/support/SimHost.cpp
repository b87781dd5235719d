// SPDX-License-Identifier: GPL-3.0-or-later
#include "SimHost.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
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
  Scratch files[3];
  files[0].put(input);
  std::vector<char *> argv;
  for (const std::string &word : words) argv.push_back(const_cast<char *>(word.c_str()));
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (int i = 0; i < 3; ++i) posix_spawn_file_actions_adddup2(&actions, files[i].descriptor(), i);
  pid_t pid;
  int failed = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed) throw std::runtime_error("cannot start " + words[0]);

  int status;
  waitpid(pid, &status, 0);
  status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return {status, files[1].content(), files[2].content()};
}

SimHost::SimHost(const std::string &topology) {
  std::string pattern = (std::filesystem::temp_directory_path() / "trx-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary directory");
  directory_ = pattern;
  const bool isPath = topology.find('/') != std::string::npos;
  const Outcome made =
      sim("reset", {"--topology", isPath ? topology : TRX_TOPOLOGY_DIR "/" + topology + ".json"});
  if (made.status != 0) throw std::runtime_error("trx_sim reset: " + made.err);
}

SimHost::~SimHost() {
  sim("reset");  // takes the host's semaphores with it
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

static Words joined(Words words, const Words &more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

Outcome SimHost::cli(const Words &words, const std::string &input) {
  return runProgram(runWords(joined({TRX_CLI_PATH}, words)), input);
}

Outcome SimHost::sim(const std::string &line, const Words &words) {
  Words program = joined({TRX_SIM_PATH}, wordsOf(line));
  program.insert(program.begin() + 2, {"--state", stateDirectory()});
  return runProgram(joined(program, words));
}

Words SimHost::runWords(const Words &program) const {
  return joined({TRX_SIM_PATH, "run", "--state", stateDirectory(), "--trace", traceFile(), "--"}, program);
}

std::string SimHost::placed(const std::string &text) const {
  return std::regex_replace(text, std::regex("@"), directory_.string() + "/");
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
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace trx::test
