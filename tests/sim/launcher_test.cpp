// SPDX-License-Identifier: GPL-3.0-or-later
// trx_sim as a person uses it.
#include <array>

#include "seam.h"

namespace simtest {
namespace {

struct Output {
  std::string text;
  int status;
};

class Launcher : public Host {
 protected:
  /// Runs trx_sim; standard error joins the output.
  Output run(const std::string &arguments) const {
    std::string command = std::string("unset TRX_SIM_STATE; ") + TRX_SIM_PROGRAM + " " + arguments + " 2>&1";
    FILE *pipe = popen(command.c_str(), "r");
    Output output{};
    std::array<char, 4096> piece{};
    for (size_t n; (n = fread(piece.data(), 1, piece.size(), pipe)) > 0;) output.text.append(piece.data(), n);
    output.status = WEXITSTATUS(pclose(pipe));
    return output;
  }
  std::string state() const { return "--state " + directory + " "; }
  static std::string topology(const char *name) {
    return std::string("--topology ") + TRX_SIM_TOPOLOGIES + "/" + name + " ";
  }
};

TEST_F(Launcher, KeepsToTheTopologyOfTheState) {
  std::string text = run("run " + state() + topology("adapters33.json") + "-- lspci -p").text;
  EXPECT_LT(text.find("vmhba10\n"), text.find("vmhba1\n")) << "the last match must be the right one";
  EXPECT_EQ(run("run " + state() + "-- sh -c 'exit 7'").status, 7);
  Output other = run("run " + state() + topology("empty.json") + "-- true");
  EXPECT_EQ(other.status, 2);
  EXPECT_NE(other.text.find("trx_sim reset --state " + directory), std::string::npos) << other.text;
  EXPECT_EQ(run("reset " + state() + topology("empty.json")).status, 0);
  EXPECT_EQ(run("show " + state()).text.find("volume"), std::string::npos);
}

TEST_F(Launcher, WrongInputIsTold) {
  const std::pair<const char *, const char *> rows[] = {
      {"", "say what to do"},
      {"show --colour red", "option '--colour' is not known"},
      {"reset --topology /nowhere.json", "/nowhere.json: no such file"},
      {"run -- /no/such/program", "No such file or directory"},
  };
  for (const auto &[arguments, told] : rows) {
    setenv("XDG_STATE_HOME", directory.c_str(), 1);
    Output output = run(arguments);
    unsetenv("XDG_STATE_HOME");
    EXPECT_EQ(output.status, 2) << arguments;
    EXPECT_NE(output.text.find(told), std::string::npos) << arguments << ": " << output.text;
  }
}

TEST_F(Launcher, SemaphoresOfAHostAreItsOwnAndGoWithAReset) {
  run("reset " + state());
  std::string probe = "run " + state() + "-- " + TRX_SIM_SEMAPHORE_PROBE;
  EXPECT_EQ(run(probe).text, "made\n");
  EXPECT_EQ(run(probe).text, "found\n");
  run("reset " + state());
  EXPECT_EQ(run(probe).text, "made\n");
  run("reset " + state());
}

}  // namespace
}  // namespace simtest
