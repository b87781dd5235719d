// SPDX-License-Identifier: GPL-3.0-or-later
// A controller that fails: every command says so and returns what it should.
#include <gmock/gmock.h>

#include "CliSession.h"

namespace trx::test {
namespace {

using namespace ::testing;

#define FAILED "NVMEDevice_sendCommand Failed, Input/output error.\n"
constexpr char kRefused[] = FAILED "Invalid HD ID (Status Code: 0x706)\n";
constexpr char kInternal[] = FAILED "Internal Error (Status Code: 0x6)\n";

// A row per request of a command. Commands that send more than one request have a row for each.
// clang-format off
const struct {
  const char *line, *fault;  ///< which request fails, and how, in the words of `trx_sim fault`
  int32_t status;
  Matcher<std::string> out, library = "";  ///< on the output stream; the library's own words on standard output
} kFailures[] = {
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
    {"info -o pd -i 0",           "add group=e1 nvme=6",                  0, "\nUnable to get info of PD\n", kInternal},
    {"info -o pd -i 0",           "add group=e1 signature",               0, "\nUnable to get info of PD\n"},
    {"info -o pd -i 0",           "add group=e1 status=6",                0, "\nUnable to get info of PD\n"},
    {"info -o pd -i 0",           "add group=e1 ones",                    0, "\nUnable to get info of PD\n"},
    {"info -o pd -i 0",           "add group=e1 short=3",                 0, StartsWith("PD ID:                  0\nModel:                  \n")},
    {"info -o vd -i 0",           "add group=e2 platform=5",              0, "\nUnable to get info of VD\n", FAILED},
    {"info -o vd -i 1",           "add group=e3 status=7",                0, AllOf(StartsWith("VD ID:               1\n"), EndsWith("Sector Size:         512 bytes\n\nUnable to get info of VD\n"))},
    {"info -o ns",                "add group=e5 short=0",                 0, "\nUnable to get info of VD\n"},
    {"info -o ns -t vd -v 0",     "add group=e5 sub=1 garbage",           0, "\nUnable to get info of VD\n"},
    {"info -o hba -i 1",          "add group=e0 nvme=6",                  0, "\nUnable to get info of NVMe Controller\n", kInternal},
    {"info -o hba",               "add adapter=vmhba3 group=e0 platform=1", 0, EndsWith("\nUnable to get info of NVMe Controller 1\nTotal # of HBA:      2\n\n"), HasSubstr(" Operation not permitted.\n")},
    {"info -o ns -i 3",           "add op=6 nvme=6",                      0, StartsWith("NS ID:               3\n\nFailed to get primary controller.\nEUI64:               0000000000000000\n"), kInternal},
    {"info -o hba -i 0",          "add op=6 nvme=6",                      0, HasSubstr("\nFailed to get primary controller.\nHost ID:                             0\n"), kInternal},
};
// clang-format on

TEST(FailingController, IsReportedByEveryCommand) {
  CliSession session;
  for (const auto &row : kFailures) {
    SCOPED_TRACE(std::string(row.line) + " / " + row.fault);
    ASSERT_EQ(session.host().sim("fault", wordsOf(row.fault)).status, 0);
    CommandResult result = session.run(row.line);
    EXPECT_EQ(result.status, row.status);
    EXPECT_THAT(result.out, row.out);
    EXPECT_THAT(result.library, row.library);
    EXPECT_EQ(session.host().sim("fault", {"list"}).out, "") << "the request was not sent";
  }
  EXPECT_EQ(session.host().violations(), "");
}

}  // namespace
}  // namespace trx::test
