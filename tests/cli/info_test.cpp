// SPDX-License-Identifier: GPL-3.0-or-later
// The four listings: whole outputs, what reached the controller, and devices that lie.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <sstream>

#include "Functions/info/info.h"
#include "Play.h"

namespace trx::test {
namespace {

using namespace ::testing;

/// A block of a listing, of labels and values between bars; the values stand in one column.
std::string block(size_t column, const std::string &told) {
  std::istringstream words(told);
  std::string text;
  for (std::string label, value; std::getline(words, label, '|') && std::getline(words, value, '|');)
    text += label + ":" + std::string(column - label.size() - 1, ' ') + value + "\n";
  return text;
}

void expectShown(CliSession &session,
                 const std::vector<std::pair<const char *, Matcher<std::string>>> &rows) {
  for (const auto &[line, out] : rows) EXPECT_THAT(session.run(line).out, out) << line;
}

// Rows are read as tables.
// clang-format off

TEST(Info, ListsObjects) {
  const std::string end = "=> 0\n< op=e2 cdw12=";
  const std::string vd = block(21, "VD ID|1|Name|logs|Status|Degrade|Importable|No|RAID Mode|RAID1|size|1788 G|PD Count|2|PDs|2 ? |Stripe Block Size|256K|Sector Size|512 bytes|");
  const std::string ns = block(21, "NS ID|3|EUI64|7472580000000003|Parent VD ID|1|Valid|Yes|Active|No|Size|988 G|VD status|Unhealthy|") + "\n";
  CliSession session;
  play(session, {
    {"info -o hba -i 2", "\nUnable to get info of NVMe Controller\n=> 0\n"},
    {"info -o vd -i 1", vd + end + "e2 cdw14=1 len=4096\n< op=e2 cdw12=2e3 cdw14=1 len=4096\n"},
    {"info -o ld --id=0", block(21, "VD ID|0|Name|datastore|Status|Functional|Importable|No|RAID Mode|RAID1|size|894 G|PD Count|2|PDs|0 1 |Stripe Block Size|128K|Sector Size|512 bytes|"
                                    "BGA progress|Initializing is running in 37%|") + end + "e2 len=4096\n< op=e2 cdw12=2e3 len=4096\n"},
    {"info -o vd -i 7", "\nUnable to get info of VD\n" + end + "e2 cdw14=7 len=4096\n"},
    {"info -o pd -i 0", block(24, "PD ID|0|Model|Halden HX1 NVMe SSD 960GB               |Serial|HX1S0A7731          |Stripe Block Size|256K|LBA|1875385008|Size|894 G|"
                                  "SSD NVMe Adapter ID|0|SSD Namespace ID|1|Firmware version|HX10A02 |Status|Idle|Assigned|Yes|Namespace Count|1|") + end + "e1 len=4096\n"},
    {"info -o hd -i 8", "\nUnable to get info of PD\n" + end + "e1 cdw14=8 len=4096\n"},
    {"info -o ns -i 3", ns + end + "e5 len=4096\n< op=6 nsid=3 len=4096\n"},
    {"info -o ns -i 9", "\nUnable to get info of NS\n" + end + "e5 len=4096\n"},
    {"info -o ns -t vd -v 1 -i 3", ns + end + "101e5 len=4096\n< op=6 nsid=3 len=4096\n"},
    {"info -o ns -t ld -v 3", "No Namespace Info Exist.\n" + end + "301e5 len=4096\n"},
    {"info -o ns -t vd", "\nUnable to get info of VD\n" + end + "ff01e5 len=4096\n"},
    {"info -o ns -t vd -v 259 -i 9", "\nUnable to get info of NS\n" + end + "301e5 len=4096\n"},
  });
  dbg_enable = true;
  EXPECT_THAT(session.run("info -o vd -i 1").out, HasSubstr("CDW[0] : 0x000000e2\nCDW[12]: 0x000002e3\nCDW[14]: 0x00000001\ncmd_status: 0x0\n"));
  EXPECT_THAT(transcript(session, "info -o hba -i 0"), EndsWith("\n< op=e2 cdw12=e0 len=4096\n< op=6 cdw10=14 len=4096\n"));
  EXPECT_EQ(session.host().violations(), "");
}

// In a process of its own: where an adapter sits is asked of the host.
TEST(Info, ListsAdapters) {
  const std::string ends = "Link width|8x|  Max PCIe speed|8Gb/s|", root = "|  Link width|4x|  Max PCIe speed|8Gb/s|";
  const std::string ids = "|Firmware Version|1.2.0.1035|VID|0x7472|SVID|0x7472|DID|0x5201|SDID|0x1|RevisionID|0xa1|Port Count|4|";
  const std::string hba = block(37,
      "NVMe Controller ID|0|Device Fun|03:00.00|Device|vmhba2|Slot ID|5" + ids + "Max PD of Per VD|8|Max VD|8|Max PD|8|Max NS of Per VD|8|Max NS|32|Host ID|0|"
      "Supported RAID Mode|RAID0 RAID1 RAID10 JBOD |Cache|On |Supported BGA Features|Initialization Rebuild Sync Migrate MediaPatrol |"
      "Support Stripe Size|128KB 256KB 512KB |Supported Features|Import RAID Namespace Dump |End Point|0|  " + ends + "Root Complex|0" + root +
      "Root Complex|1" + root + "Root Complex|2" + root + "Root Complex|3|  Link width|4x|  Max PCIe speed|5Gb/s|");
  const std::string jbof = block(37,
      "NVMe Controller ID|1|Device Fun|04:00.00|Device|vmhba3|Slot ID|Not found" + ids + "Max PD|8|Max NS of Per PD|8|Max NS|32|Host ID|0|"
      "Supported RAID Mode|Not Support|Cache|On |Supported Features|Import JBOF Namespace Dump |End Point|0|  " + ends + "Root Complex|0" + root);
  SimHost host;
  EXPECT_EQ(host.cli({"info", "-o", "hba"}).out, hba + "\n" + jbof + "\nTotal # of HBA:      2\n\n");
  EXPECT_EQ(host.cli({"1", "info", "-o", "HBA"}).out, jbof) << "the adapter named on the command line";
  EXPECT_EQ(host.cli({"info", "-o", "hba", "-i", "0"}).out, hba);
}

TEST(Info, WalksAllObjectsAndCountsThem) {
  CliSession session;
  const struct { const char *line, *first, *total; size_t blocks; } rows[] = {
    {"info -o vd", "\nVD ID:               0\n", "\n\nTotal # of VD:       4\n\n", 4},
    {"info -o pd", "\nPD ID:                  0\n", "\n\nTotal # of PD:          8\n\n", 8},
    {"info -o ns", "NS ID:               1\n", "\n\nTotal # of NS:       4\n\n", 4},
    {"info -o ns -t vd -v 1", "NS ID:               2\n", "\n\nTotal # of NS:       2\n\n", 2},
  };
  for (const auto &row : rows) {
    const std::string out = session.run(row.line).out;
    EXPECT_THAT(out, AllOf(StartsWith(row.first), EndsWith(row.total))) << row.line;
    size_t blocks = 0;
    for (size_t at = 0; (at = out.find("\n\n", at)) != std::string::npos; at += 2) ++blocks;
    EXPECT_EQ(blocks, row.blocks + 1) << "an empty line after each block and after the total: " << row.line;
  }
}

TEST(Info, TakesAsManyTriesAsTheAdapterSays) {
  CliSession session;
  auto tries = [&](const char *line) {
    session.requests();
    session.run(line);
    return session.requests().size();
  };
  g_pAdInfos[0].PortCount = 3, g_pAdInfos[0].MaxPD = 5, g_pAdInfos[0].MaxNSPerVD = 2, g_pAdInfos[0].MaxVD = 2;
  EXPECT_EQ(tries("info -o pd"), 15u);
  EXPECT_EQ(tries("info -o pd -i 65791"), 15u) << "255 in 16 bits";
  EXPECT_EQ(tries("info -o vd -i 255"), 2u + 2u);
  g_pAdInfos[0].PortCount = 20, g_pAdInfos[0].MaxPD = 14;  // 280 tries: the first ids come round again
  EXPECT_THAT(session.run("info -o pd").out, EndsWith("Total # of PD:          16\n\n"));
  EXPECT_THAT(session.requests().back(), HasSubstr("cdw14=17 "));
  expectShown(session, {
    {"info -o pd -i 65536", StartsWith("PD ID:                  0\n")},
    {"info -o hba -i 256", StartsWith("NVMe Controller ID:                  0\n")},
    {"info -o hba -i 255", EndsWith("\n\nTotal # of HBA:      2\n\n")},
  });
  session.run("adapter -i 1");
  g_pAdInfos[1].PortCount = 2, g_pAdInfos[1].MaxNSPerVD = 3;
  EXPECT_EQ(tries("info -o pd"), 6u);
  expectShown(session, {{"info -o pd -i 1", EndsWith("No\nImportable:             No\nNamespace Count:        1\n")}});
}

TEST(Info, FiltersNamespaces) {
  CliSession session;
  deviceSays = [](std::span<uint8_t> reply) {  // four namespaces, of which the last has no status bit
    for (uint8_t i = 0; reply[0] == 'T' && i < 4; ++i) {
      reply[8 + 24 * i] = static_cast<uint8_t>(i + 1);
      reply[8 + 24 * i + 4] = static_cast<uint8_t>(i < 3 ? 1 << i : 0);
    }
  };
  auto shown = [&](const std::string &line) {
    const std::string out = session.run(line).out;
    std::string ids;
    for (size_t at = 0; (at = out.find("NS ID:", at)) != out.npos; ++at) ids += out.substr(at + 21, 2);
    return ids + out.substr(out.rfind('\n', out.size() - 3) + 1);
  };
  const std::string used = "1\n2\n3\nTotal # of NS:       3\n\n", none = "Unable to get info of NS\n";
  const std::pair<std::string, Matcher<std::string>> rows[] = {
    {"", used}, {" -t host", used}, {" -t vd -v 0", "1\nTotal # of NS:       1\n\n"},  // the valid ones
    {" -t HOST -i 4", none}, {" -t host -i 3", StartsWith("3\n")}, {" -t vd -v 0 -i 4", none},
    {" -t vd -v 0 -i 2", StartsWith("2\n")},  // in use, though not valid
  };
  for (const auto &[options, ids] : rows) EXPECT_THAT(shown("info -o ns" + options), ids) << options;
  g_pAdInfos[0].MaxNS = 0;
  EXPECT_EQ(session.run("info -o ns -t vd -v 0").out, "No Namespace Info Exist.\n");
}

TEST(Info, ChecksOptionsInTheirOrder) {
  CliSession session("empty");
  expectRows(session, {
    {"info -o hba -o pd", 1, "Duplicated option specified.\n"}, {"info -i 1 -i x", 1, "-i : id should be a number\nDuplicated option specified.\n"},
    {"info -i 1", 1, "info: option -o is required\n"}, {"inf -i 1", 1, "inf: option -o is required\n"}, {"info -o disk", 1, "-o : invalid object 'disk'\n"},
    {"info -i x -o pd", 1, "-i : id should be a number\ninfo: option -o is required\n"}, {"info -o pd -i x", 1, "-i : id should be a number\n"},
    {"info -o ns -t pd", 1, "-t : invalid type 'pd'\n"}, {"info -o ns -v x", 1, "-v : VD id should be a number\n"}, {"info -o pd -z", 1, ""},
  });
  expectShown(session, {
    {"info -o pd", "\nNo physical disk is found.\n"}, {"info -o vd", "\nNo virtual disk is found.\n"}, {"info -o ns", "No Namespace Info Exist.\n"},
  });
}

TEST(Info, CountsFromOneWhereUsersDo) {
  CliSession session;
  g_oneBaseMode = 1;
  expectShown(session, {
    {"info -o hba -i 1", AllOf(StartsWith("NVMe Controller ID:                  1\n"), HasSubstr("\nHost ID:                             1\n"))},
    {"info -o vd -i 2", AllOf(StartsWith("VD ID:               2\n"), HasSubstr("\nPDs:                 3 ? \n"))},
    {"info -o pd -i 1", AllOf(StartsWith("PD ID:                  1\n"), HasSubstr("\nSSD NVMe Adapter ID:    1\nSSD Namespace ID:       1\n"))},
    {"info -o ns -i 3", AllOf(StartsWith("NS ID:               3\n"), HasSubstr("\nParent VD ID:        2\n"))},  // namespaces never are
    {"info -o pd -i 0", "-i : id should be a number\n\nUnable to get info of PD\n"},
    {"info -o hba -i 0", HasSubstr("Total # of HBA:      2\n")},  // 255: all of them
  });
}

/// What a printer writes from a label on, with bars for the ends of labels and lines.
std::string printed(const char *from, const std::function<void()> &print) {
  const std::string text = outputOf(print);
  return std::regex_replace(text.substr(std::min(text.find(from), text.size())), std::regex(": +|\n"), "|");
}

TEST(InfoPrinters, ReadEveryFieldOfAnAdapter) {
  CliSession session;
  Capture noBusHere(STDERR_FILENO);
  deviceSays = [](std::span<uint8_t> reply) { reply[0] = 0xFE, reply[1] = 0xCA; };  // the primary controller's id
  NVME_Adapter_Info info{};
  info.FirmwareVersion = {11, 12, 13, 14};
  info.VID = 0xABCD, info.SVID = 0x21, info.DID = 0x22, info.SDID = 0x23, info.RevisionID = 0x24;
  info.PortCount = 25, info.MaxPDPerVD = 26, info.MaxVD = 27, info.MaxPD = 28, info.MaxNSPerVD = 29, info.MaxNS = 30;
  info.SupportRAIDMode = 0xFF, info.SupportBGAFeature = 0x1F, info.StripeSizeSupported = 0x7, info.Features = TRX_FEATURE_RAID;
  info.PCIeInfo[0] = {TRX_PCIE_ROOT_COMPLEX, 7, 1, 1}, info.PCIeInfo[1] = {2, 8, 3, 4}, info.PCIeInfo[2] = {TRX_PCIE_END_POINT, 9, 2, 2};
  for (int i = 3; i < 16; ++i) info.PCIeInfo[i] = {TRX_PCIE_ROOT_COMPLEX, static_cast<TRX_U8>(i), 4, 16};
  info.PCIeInfo[4].Type = TRX_PCIE_LAST;
  auto print = [&] { Adapter_PrintInfo(0, info); };
  EXPECT_EQ(printed("Firmware", print),
            "Firmware Version|11.12.13.0014|VID|0xabcd|SVID|0x21|DID|0x22|SDID|0x23|RevisionID|0x24|Port Count|25|Max PD of Per VD|26|Max VD|27|"
            "Max PD|28|Max NS of Per VD|29|Max NS|30|Host ID|51966|Supported RAID Mode|RAID0 RAID1 RAID5 RAID6 RAID10 RAID50 RAID60 JBOD |Cache|Off |"
            "Supported BGA Features|Initialization Rebuild Sync Migrate MediaPatrol |Support Stripe Size|128KB 256KB 512KB |Supported Features|RAID |"
            "Root Complex|7|  Link width|1x|  Max PCIe speed|2.5Gb/s|End Point|9|  Link width|2x|  Max PCIe speed|5Gb/s|"
            "Root Complex|3|  Link width|Unknown|  Max PCIe speed|Unknown|");
  // One bit of each set at a time; of JBOF adapters fewer are told.
  const char *const each[] = {"RAID0 |Cache|Off |Supported BGA Features|Initialization |Support Stripe Size|128KB |Supported Features|RAID |",
                              "RAID1 |Cache|On |Supported BGA Features|Rebuild |Support Stripe Size|256KB |Supported Features|Import RAID |",
                              "JBOD |Cache|Unknown|Supported BGA Features|Sync |Support Stripe Size|512KB |Supported Features|RAID |",
                              "RAID10 |Cache|Unknown|Supported BGA Features|Migrate |Support Stripe Size||Supported Features|RAID Namespace |",
                              "RAID5 |Cache|Unknown|Supported BGA Features|MediaPatrol |Support Stripe Size||Supported Features|RAID Dump |",
                              "RAID50 |Cache|Unknown|Supported BGA Features||Support Stripe Size||Supported Features|RAID |",
                              "RAID6 |Cache|Unknown|Supported BGA Features||Support Stripe Size||Supported Features|RAID |",
                              "RAID60 |Cache|Unknown|Supported BGA Features||Support Stripe Size||Supported Features|RAID |"};
  info.PCIeInfo[0].Type = TRX_PCIE_LAST;
  for (unsigned bit = 0; bit < 8; ++bit) {
    info.SupportRAIDMode = info.SupportBGAFeature = info.StripeSizeSupported = static_cast<TRX_U8>(1 << bit);
    info.Features = TRX_FEATURE_RAID | 1u << bit, info.Cache = static_cast<TRX_U8>(bit);
    EXPECT_EQ(printed("Supported RAID", print), std::string("Supported RAID Mode|") + each[bit]);
  }
}

TEST(InfoPrinters, ReadEveryFieldOfADisk) {
  NVME_PD_Info disk{};
  disk.ID = 0x101, disk.SectorSize = 4096, disk.LBA.value = 0x123456789, disk.SSDAdapterID = 0x203, disk.SSDNSID = 0x304, disk.NumberOfNS = 5;
  std::memcpy(disk.Model, "  M", 3), std::memcpy(disk.SerialNo, "   S", 4), std::memcpy(disk.FWVersion, " F", 2);
  auto print = [&] { HD_PrintInfo(disk, false); };
  EXPECT_EQ(printed("", print), "PD ID|257|Model|M|Serial|S|Stripe Block Size|Unknown|LBA|4886718345|Size|18641 G|SSD NVMe Adapter ID|515|"
                                "SSD Namespace ID|772|Firmware version|F|Status|Idle|Assigned|No|Importable|No|Namespace Count|5|");
  const struct { TRX_U8 bits; const char *status, *assigned, *importable; } rows[] = {
      {0x01, "Idle", "Yes", "No"}, {0x02, "Media Patrol Executing", "No", "No"}, {0x04, "Idle", "No", "No"}, {0x08, "Idle", "No", "Yes"},
      {0x12, "Fail", "No", "No"}, {0xE0, "Idle", "No", "No"},
  };
  for (const auto &row : rows) {
    disk.Status = row.bits;
    EXPECT_THAT(printed("Status", print), StartsWith(std::string("Status|") + row.status + "|Assigned|" + row.assigned + "|Importable|" + row.importable + "|"));
  }
  for (const auto &[size, word] : {std::pair{256u, "128K"}, {512u, "256K"}, {1024u, "512K"}, {2048u, "Unknown"}}) {
    disk.SectorSize = size;
    EXPECT_THAT(printed("Stripe", print), StartsWith(std::string("Stripe Block Size|") + word + "|"));
  }
}

Listing &listing() {
  static Listing volumes(kVolumeWidth, kVolumes);
  return volumes;
}

TEST(InfoPrinters, ReadEveryFieldOfAVolumeAndANamespace) {
  NVME_VD_Info volume{};
  volume.ID = 0x102, volume.Importable = 1, volume.MemberCount = 3, volume.LBA.value = 0x10000000, volume.NumParityDisk = 2, volume.SectorSize = 4096;
  volume.PDIDs[0] = 0x105, volume.PDIDs[1] = 0xFFFF, volume.PDIDs[2] = 255, volume.PDIDs[3] = 9;
  std::memcpy(volume.Name, "name", 4);
  volume.RaidMode = TRX_RAID_MODE_6, volume.StripBlockSize = 2048;
  auto print = [&] { LD_PrintInfo(listing(), volume); };
  EXPECT_EQ(printed("", print), "VD ID|258|Name|name|Status|Functional|Importable|Yes|RAID Mode|RAID6|size|1024 G|PD Count|3|PDs|261 ? 255 |"
                                "Parity Disk Number|2|Stripe Block Size|Unknown|Sector Size|4096 bytes|");
  const char *const words[] = {"Functional", "Degrade", "Deleted", "Missing", "Offline", "Partially Optimal", "Foreign", "Importable",
                               "Not Importable", "Initialization", "Rebuilding", "Error Handling", "N/A"};
  for (TRX_U8 status = 0; status < std::size(words); ++status) {
    volume.Status = status, volume.RaidMode = TRX_RAID_MODE_5;
    EXPECT_THAT(printed("Status", print), AllOf(StartsWith("Status|" + std::string(words[status]) + "|"), Not(HasSubstr("Parity"))));
  }
  const char *const activities[] = {"unknown BGA action", "Initializing", "Initializing", "Rebuilding", "Synchronizing", "Migrating",
                                    "unknown BGA action", "Media Patrol", "unknown BGA action"};
  for (TRX_U8 type = 0; type < std::size(activities); ++type) {
    EXPECT_EQ(outputOf([&] { VD_PrintBGAStatus(listing(), {9, type, 8, 42, TRX_NVME_BGA_STATUS_RUNNING, {7}}); }),
              "BGA progress:        " + std::string(activities[type]) + " is running in 42%\n");
  }

  CliSession session;
  deviceSays = [](std::span<uint8_t> reply) { for (uint8_t i = 0; i < 8; ++i) reply[120 + i] = static_cast<uint8_t>(0xF0 - i); };
  NVME_NS_Info ns{};
  ns.NSID = 3, ns.ID = 0x104, ns.SectorSize = 4096, ns.LBA.value = 0x10000000;
  const struct { TRX_U8 status, volumeStatus; const char *valid, *active, *health; } rows[] = {
      {1, 0, "Yes", "No", "Healthy"}, {2, 1, "No", "No", "Unhealthy"}, {4, 10, "No", "Yes", "Unhealthy"},
      {8, 3, "No", "No", "Healthy"}, {5, 9, "Yes", "Yes", "Healthy"}, {0xF8, 11, "No", "No", "Healthy"},
  };
  for (const auto &row : rows) {
    ns.Status = row.status, ns.VDStatus = row.volumeStatus;
    const std::string bits = std::string("|260|Valid|") + row.valid + "|Active|" + row.active + "|Size|1024 G|", head = "NS ID|3|EUI64|f0efeeedecebeae9|Parent ";
    EXPECT_EQ(printed("", [&] { NS_PrintInfo(ns, true); }), head + "VD ID" + bits + "VD status|" + row.health + "||");
    EXPECT_EQ(printed("", [&] { NS_PrintInfo(ns, false); }), head + "PD ID" + bits + "|");
  }
}

TEST(InfoPrinters, BoundWhatADeviceSays) {
  NVME_PD_Info disk{};
  std::fill(std::begin(disk.Model), std::end(disk.Model), ' ');
  std::fill(std::begin(disk.FWVersion), std::end(disk.FWVersion), ' ');
  std::fill(std::begin(disk.SerialNo), std::end(disk.SerialNo), 'S');
  disk.Model[39] = 'M';
  disk.SectorSize = 0xFFFFFFFF;
  disk.LBA.value = UINT64_MAX;
  disk.Status = 0x1F;
  EXPECT_THAT(outputOf([&] { HD_PrintInfo(disk, false); }), AllOf(
      HasSubstr("Model:                 " + std::string(1 + 39 - 15, ' ') + "M\nSerial:                 SSSSSSSSSSSSSSSSSSSS\n"),  // 15 blanks skipped
      HasSubstr("Firmware version:       \nStatus:                 Fail\nAssigned:               Yes\nImportable:             Yes\n")));

  NVME_VD_Info volume{};
  volume.MemberCount = 255;
  volume.RaidMode = TRX_RAID_MODE_60;
  volume.NumParityDisk = 2;
  volume.StripBlockSize = 1024;
  volume.Status = 12;
  volume.Importable = 2;
  std::fill(std::begin(volume.Name), std::end(volume.Name), 'n');
  const std::string out = outputOf([&] { LD_PrintInfo(listing(), volume); });
  EXPECT_THAT(out, AllOf(HasSubstr(block(21, "Name|nnnnnnnnnnnnnnnn|Status|N/A|Importable|No|RAID Mode|RAID60|")), EndsWith("Parity Disk Number:  2\nStripe Block Size:   512K\n")));
  EXPECT_EQ(std::count(out.begin(), out.end(), '0'), 32 + 2 + 1) << "32 members, whatever the count says";
  EXPECT_EQ(outputOf([] { VD_PrintBGAStatus(listing(), {0, TRX_NVME_BGA_TYPE_VD_MEDIAPATROL, 0, 255, TRX_NVME_BGA_STATUS_PAUSE, {}}); }), "BGA progress:        Media Patrol is pause in 255%\n");
  EXPECT_EQ(outputOf([] { VD_PrintBGAStatus(listing(), {0, TRX_NVME_BGA_TYPE_VD_REBUILD, 0, 1, 3, {}}); }), "");
}

// clang-format on

}  // namespace
}  // namespace trx::test
