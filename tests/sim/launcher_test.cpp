// SPDX-License-Identifier: GPL-3.0-or-later
// trx_sim as a person uses it, and the trace.
#include <sys/wait.h>

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

TEST_F(Launcher, PutsTheHostAroundAProgram) {
  Output output =
      run("run " + state() + "-- sh -c 'lspci -p | grep \"vmhba*\"; head -c 5 /dev/char/mem/smbios'");
  EXPECT_EQ(output.text,
            "0000:03:00.00 7472:5201 7472:0001 V vmhba2\n"
            "0000:04:00.00 7472:5201 7472:0001 V vmhba3\n_SM3_");
  EXPECT_EQ(output.status, 0);
  EXPECT_EQ(run("run " + state() + "-- sh -c 'exit 7'").status, 7);
}

TEST_F(Launcher, ListsLongNamesFirstSoThatTheLastMatchIsTheRightOne) {
  std::string text = run("run " + state() + topology("adapters33.json") + "-- lspci -p").text;
  EXPECT_LT(text.find("vmhba10\n"), text.find("vmhba1\n"));
  EXPECT_LT(text.find("vmhba33\n"), text.find("vmhba3\n"));
}

TEST_F(Launcher, KeepsToTheTopologyOfTheState) {
  EXPECT_EQ(run("run " + state() + topology("frozen.json") + "-- true").status, 0);
  EXPECT_EQ(run("run " + state() + topology("frozen.json") + "-- true").status, 0);
  EXPECT_EQ(run("run " + state() + "-- true").status, 0);
  Output other = run("run " + state() + topology("empty.json") + "-- true");
  EXPECT_EQ(other.status, 2);
  EXPECT_NE(other.text.find("trx_sim reset --state " + directory), std::string::npos) << other.text;
  EXPECT_EQ(run("reset " + state() + topology("empty.json")).status, 0);
  EXPECT_EQ(run("show " + state()).text.find("volume"), std::string::npos);
}

TEST_F(Launcher, WrongInputIsTold) {
  const std::pair<const char *, const char *> rows[] = {
      {"", "say what to do"},
      {"walk", "'walk' is not a verb"},
      {"show --colour red", "option '--colour' is not known"},
      {"show --state", "needs a value"},
      {"run", "say which program"},
      {"reset now", "'now' is not expected"},
      {"reset --topology /nowhere.json", "/nowhere.json: no such file"},
      {"fault", "say add, list or clear"},
      {"fault add op=e2", "exactly one way to fail"},
      {"advance soon", "not a number of seconds"},
      {"advance 5", "the clock of this host is the real one"},
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

TEST_F(Launcher, ArmsAndListsFaults) {
  EXPECT_EQ(run("fault " + state() + "add op=e2 nvme=0x6").status, 0);
  EXPECT_EQ(run("fault " + state() + "list").text, "adapter=* op=e2 nth=1 count=1 nvme=6\n");
  EXPECT_EQ(run("fault " + state() + "clear").status, 0);
  EXPECT_EQ(run("fault " + state() + "list").text, "");
}

TEST_F(Launcher, TheTraceHasALinePerExchange) {
  makeFrom("frozen.json");
  std::string trace = directory + "/trace";
  setenv("TRX_SIM_TRACE", trace.c_str(), 1);
  Page page;
  function(0x1E0, 0, page);
  usr_io refused = block(0xE2, 0x2E0);
  refused.cmd.cdw14 = 0x0700;
  send(refused);
  NVME_VD_Delete gone{};
  gone.ID = 9;
  pair({0xE2, 4}, gone);
  unsetenv("TRX_SIM_TRACE");
  bool exists = false;
  EXPECT_EQ(
      sim::readText(trace, exists),
      "vmhba2 admin op=e2 nsid=0 cdw2=0 cdw10=0 cdw11=0 cdw12=1e0 cdw13=0 cdw14=0 cdw15=0 dir=1 len=4096"
      " -> status=0 sct=0 sc=0\n"
      "vmhba2 admin op=e2 nsid=0 cdw2=0 cdw10=0 cdw11=0 cdw12=2e0 cdw13=0 cdw14=700 cdw15=0 dir=1 len=0"
      " -> status=5 sct=7 sc=4\n"
      "vmhba2 admin op=cb nsid=0 cdw2=0 cdw10=400 cdw11=0 cdw12=0 cdw13=0 cdw14=0 cdw15=585254 dir=0 len=4096"
      " words=e2,4,0,0 data=8 out=09 -> status=0 sct=0 sc=0\n"
      "vmhba2 admin op=ce nsid=0 cdw2=0 cdw10=400 cdw11=0 cdw12=0 cdw13=0 cdw14=0 cdw15=585254 dir=1 len=4096"
      " -> status=0 sct=0 sc=0\n");
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
