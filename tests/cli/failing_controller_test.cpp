// SPDX-License-Identifier: GPL-3.0-or-later
// A controller that fails: every command says so and returns what it should.
#include <gtest/gtest.h>

#include "CliSession.h"

namespace trx::test {
namespace {

struct FailureRow {
  const char *line;
  const char *fault;  ///< which request fails, and how, in the words of `trx_sim fault`
  int32_t status;
  const char *out;      ///< on the output stream
  const char *library;  ///< the library's own words on standard output
};

// NVMe status: type 7 (vendor specific), code 6.
constexpr char kRefused[] =
    "NVMEDevice_sendCommand Failed, Input/output error.\nInvalid HD ID (Status Code: 0x706)\n";

// A row per request of a command. Commands that send more than one request have a row for each.
// clang-format off
constexpr FailureRow kFailures[] = {
    {"get -o hba -i 0",           "add op=e2 group=e0 sub=1 nvme=0x706",  6, "\nUnable to get configuration of NVMe Controller 0\n", kRefused},
    {"get -o hba",                "add op=e2 group=e0 sub=1 nvme=0x706",  6, "\nUnable to get configuration of NVMe Controller 255\n", kRefused},
    {"set -o hba -i 0 -a on",     "add op=e2 group=e0 sub=1 nvme=0x706",  1, "\nUnable to get configuration info of adapter 0\n", kRefused},
    {"set -o hba -i 0 -a on",     "add op=e2 group=e0 sub=2 nvme=0x706",  1, "\nFailed to configure hba 0\n", kRefused},
    {"led -o ep -i 0 -a on",      "add op=e2 group=e0 sub=7 nvme=0x706",  0x706, "LED control failed.\n", kRefused},
    {"led -o rc -i 0 -a on",      "add op=e2 group=e1 sub=7 nvme=0x706",  0x706, "LED control failed.\n", kRefused},
    {"reset -i 0 -t device",      "add op=e2 group=e1 sub=8 nvme=0x706",  0x706, "Reset failed.\n", kRefused},
    {"debuglv -t 0",              "add op=e2 group=e0 sub=12 nvme=0x706", 0x706, "debug level access to normal failed.\n", kRefused},
    {"debuglv -t 1",              "add op=e2 group=e0 sub=12 nvme=0x706", 0x706, "debug level access to error only failed.\n", kRefused},
    {"kxf -a on",                 "add op=e2 group=e0 sub=d nvme=0x706",  0x706, "KXF enable failed.\n", kRefused},
    {"protect -a off",            "add op=e2 group=e0 sub=15 nvme=0x706", 0x706, "Protect disable failed.\n", kRefused},
    {"sriov -a on",               "add op=e2 group=e0 sub=e nvme=0x706",  0x706, "SRIOV enable failed.\n", kRefused},
};
// clang-format on

TEST(FailingController, IsReportedByEveryCommand) {
  CliSession session;
  for (const FailureRow &row : kFailures) {
    SCOPED_TRACE(std::string(row.line) + " / " + row.fault);
    ASSERT_EQ(session.host().sim("fault", wordsOf(row.fault)).status, 0);
    CommandResult result = session.run(row.line);
    EXPECT_EQ(result.status, row.status);
    EXPECT_EQ(result.out, row.out);
    EXPECT_EQ(result.library, row.library);
    EXPECT_EQ(session.host().sim("fault", {"list"}).out, "") << "the request was not sent";
  }
  EXPECT_EQ(session.host().violations(), "");
}

}  // namespace
}  // namespace trx::test
