// SPDX-License-Identifier: GPL-3.0-or-later
// `trx_sim replay`: a host made of a recording, in a temporary directory, around a program.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "host/directory.h"
#include "launcher/start.h"
#include "launcher/verbs.h"
#include "recording/recording.h"
#include "replay/answers.h"

namespace sim {
namespace {

namespace fs = std::filesystem;

/// A directory that goes with the object, and the host's semaphores with it.
class ReplayDirectory {
 public:
  ReplayDirectory() : path_((fs::temp_directory_path() / "trx_sim_replay.XXXXXX").string()) {
    if (!mkdtemp(path_.data())) throw HostError(path_ + ": " + std::strerror(errno));
  }
  ~ReplayDirectory() {
    removeSemaphores(path_);
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  ReplayDirectory(const ReplayDirectory &) = delete;
  ReplayDirectory &operator=(const ReplayDirectory &) = delete;
  const std::string &path() const { return path_; }

 private:
  std::string path_;
};

void writeFacts(const std::string &directory, const std::vector<Recorded> &records) {
  std::string_view lspci, smbios;
  for (const Recorded &record : records) {
    std::string_view text(reinterpret_cast<const char *>(record.from.data()), record.from.size());
    if (record.head == kLspciHead) lspci = text;
    if (record.head == kSmbiosHead) smbios = text;
  }
  replaceFile(directory + "/lspci", lspci);
  // A host without the file is one whose open fails.
  if (!smbios.empty()) replaceFile(directory + "/smbios", smbios);
  replaceFile(directory + "/used", std::string(records.size(), '\0'));
  replaceFile(directory + "/" + std::string(kWholeReplay), "");
}

volatile sig_atomic_t child = 0;

void passOn(int signal) {
  if (child > 0) kill(static_cast<pid_t>(child), signal);
}

/// Runs the program as a child, because the directory has to be removed after it. The terminal sends
/// its signals to both: this process outlives them.
int runChild(const std::vector<std::string> &program) {
  struct sigaction pass {
  }, ignore{}, oldInterrupt{}, oldQuit{};
  pass.sa_handler = passOn;
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGINT, &ignore, &oldInterrupt);
  sigaction(SIGQUIT, &ignore, &oldQuit);
  sigaction(SIGTERM, &pass, nullptr);
  sigaction(SIGHUP, &pass, nullptr);
  pid_t pid = fork();
  if (pid < 0) throw HostError(std::string("fork: ") + std::strerror(errno));
  if (pid == 0) {
    sigaction(SIGINT, &oldInterrupt, nullptr);
    sigaction(SIGQUIT, &oldQuit, nullptr);
    _exit(becomeProgram(program));
  }
  child = pid;
  int status = 0;
  while (waitpid(pid, &status, 0) < 0)
    if (errno != EINTR) throw HostError(std::string("waitpid: ") + std::strerror(errno));
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

int replayProgram(const Arguments &arguments) {
  FileAndProgram given = fileAndProgram(arguments, "replay");
  std::vector<Recorded> records = readRecording(given.file);
  ReplayDirectory directory;
  writeFacts(directory.path(), records);
  setenv("TRX_SIM_REPLAY", fs::absolute(given.file).c_str(), 1);
  setenv("TRX_SIM_STATE", directory.path().c_str(), 1);
  surroundWith(Library::Replay);
  int status = runChild(given.program);
  if (status != 0 || fs::exists(fs::path(directory.path()) / kWholeReplay)) return status;
  throw HostError(given.file + ": the replay failed: the program asked for what is not in the recording");
}

}  // namespace sim
