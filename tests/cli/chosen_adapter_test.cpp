// SPDX-License-Identifier: GPL-3.0-or-later
// Of two adapters in RAID mode the second is chosen: it is the one that is asked, and its limits count.
#include <gmock/gmock.h>

#include "Play.h"

namespace trx::test {
namespace {

using namespace ::testing;

// Rows are read as tables.
// clang-format off

TEST(ChosenAdapter, IsTheOnlyOneThatIsAsked) {
  CliSession session("two_raid");
  session.host().sim("image", {session.host().directory() / "i", "--size", "8192"});
  const std::string image = " -f " + (session.host().directory() / "i").string();
  const struct { std::string line; const char *says; size_t requests; } rows[] = {
      {"info -o pd", "Total # of PD:          5\n", 6},  // as many tries as its ports and disks make
      {"info -o pd -i 4", "PD ID:                  4\n", 1}, {"info -o vd", "Total # of VD:       3\n", 3 + 3}, {"info -o vd -i 1", "third", 2},
      {"info -o ns", "Total # of NS:       2\n", 1 + 2}, {"info -o ns -t vd -v 1", "Total # of NS:       1\n", 1 + 1},
      {"ns --list", "Total # of NS:       2\n", 3 + 3}, {"ns -p ctrl", "Primary Controller Id is 0\n", 3 + 1},
      {"ns -a share -e 7472580100000002 -s no -c 1", "Set sharing NS successfully", 3 + 1},
      {"ns -a attach -i 2 -d 1", "Attach namespace success\n", 3 + 1}, {"ns -a init -i 4 -n 1", "Unable to initial NS", 3 + 1},
      {"ns -a create -i 1 -c 1 -l 1", "Unable to create NS", 3 + 1}, {"event -c 1", "", 16}, {"log -a on", "cmd success\n", 1},
      {"log -a show", "cmd success\n", 1 + 1}, {"log -a off", "cmd success\n", 1},
      {"log -a show", "\nUnable to get SPI log from NVMe Controller 1\n", 1}, {"init -i 0", "cmd success\n", 1},
      {"init -i 0 -a stop", "cmd success\n", 1}, {"mp -i 0", "cmd success\n", 1}, {"rebuild -i 1 -d 4", "cmd success\n", 1},
      {"get -o hba", "Index:   1\nAuto Rebuild:            off\nBGA Rate:                Low\n", 2},
      {"set -o hba -i 1 -r high", "HBA configuration is updated.\n", 2}, {"vd -a delete -i 0", "cmd success\n", 1},
      {"vd -a create -r 0 -d 0,1", "cmd success\n", 1}, {"smart -i 4", "Power On Hours", 1}, {"smart -i 0 -o hba", "Power On Hours", 1},
      {"passthru -i 4 -o 6 -r read --cdw10=1 -d 16", "success", 1}, {"flash -o hba -i 0 -q firmware", "", 2}, {"flash -o pd -q firmware", "", 2},
      {"flash -o pd -i 4 -s 1 -c 1" + image, "Flash NVMe Controller 1 disk 4 firmware success", 3},
      {"flash -o hba -s 1 -c 1" + image, "flash NVMe Controller 1 firmware success", 3},
      {"flash -o pd -i 3 -s 1 -c 3", "Flash NVMe Controller 1 disk 3 firmware success", 1}, {"vpd -t spi", "VPD access to SPI success.\n", 1},
      {"vpdread -o 0 -l 1", "success", 2}, {"mi_passthruread -i 4", "success", 2}, {"mi_passthruwrite -o 0 -l 1" + image, "success", 1},
      {"reg -t write -i 1 -a 16 -d 1", "success", 1}, {"reg -t read -i 1 -a 16", "Data:0x1,", 1}, {"gpio --value=0x40", "success", 1},
      {"i2c -i 80", "Pass", 1}, {"spi -t read", "success", 1}, {"dumphba -a show", "0x40\n", 1}, {"pcie -i 4", "Link Speed: ", 72},
      {"led -o ep -i 0 -a on", "success", 1}, {"reset -i 4 -t device", "success", 1}, {"debuglv -t 1", "success", 1}, {"kxf -a on", "success", 1},
      {"protect -a on", "success", 1}, {"sriov -a on", "success", 1},
  };
  gCurrentAdapter = 1;
  dbg_enable = true;
  const std::regex function(".* op=e2 .* cdw12=(\\w+) .*");
  for (const auto &row : rows) {
    SCOPED_TRACE(row.line);
    CommandResult result = session.run(row.line);
    EXPECT_THAT(result.out, HasSubstr(row.says)) << result.library;
    const Words requests = session.requests();
    EXPECT_THAT(requests, AllOf(SizeIs(row.requests), Each(StartsWith("vmhba3 "))));
    for (const std::string &request : requests) {
      std::smatch words;
      if (!std::regex_match(request, words, function) || words[1] == "2fe") continue;  // the state of the log
      const std::string dword = words[1];
      EXPECT_THAT(result.out, HasSubstr("CDW[12]: 0x" + std::string(8 - dword.size(), '0') + dword + "\n"));
    }
  }
  EXPECT_EQ(session.host().violations(), "");
}

TEST(ChosenAdapter, GivesWayWhereAnotherIsNamed) {
  const std::string config = "op=e2 cdw10=3ff cdw12=1e0 len=4096", other = "vmhba3 admin ";
  CliSession session("two_raid");
  gCurrentAdapter = 1;
  play(session, {
      // Where a volume is read and where it is imported differ.
      {"import -l 2 -i 0", "\nFail to import VD 2.\nNVMEDevice_sendCommand Failed, Input/output error.\nInvalid LD ID (Status Code: 0x707)\n=> 0\n< " +
                               other + "op=e2 cdw12=e2 cdw14=2 len=4096\n< op=e2 cdw12=6e2 cdw14=2\n"},
      {"import -l 2", "VD 2 import successfully.\n=> 0\n< " + other + "op=e2 cdw12=e2 cdw14=2 len=4096\n< " + other + "op=e2 cdw12=6e2 cdw14=2\n"},
      {"set -o hba -i 0 -a on", "HBA configuration is updated.\n=> 0\n< " + config + "\n< op=e2 cdw12=2e0 cdw14=201\n"},
      {"get -o hba -i 0", "NVMe Controller Index:   0\nAuto Rebuild:            on\nBGA Rate:                Medium\n\n=> 0\n< " + config + "\n"},
      {"!image @i --size 8192", ""},
      {"flash -o hba -i 0 -s 1 -c 1 -f @i",
       "start to flash NVMe Controller 0 firmware failed (Invalid firmware image, please check image and try again.)\n=> 1\n"},
  });
  session.run("info -o hba -i 0");  // but the primary controller is that of the chosen adapter
  EXPECT_THAT(session.requests(), ElementsAre(StartsWith("vmhba2 admin op=e2 "), StartsWith("vmhba3 admin op=6 ")));
}

// clang-format on

}  // namespace
}  // namespace trx::test
