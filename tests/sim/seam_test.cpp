// SPDX-License-Identifier: GPL-3.0-or-later
// The management library's functions: signatures, the checks that every command meets, the standard
// commands and the functions of the pass-through door.
#include <functional>

#include "seam.h"

namespace simtest {
namespace {

class Seam : public Host {
 protected:
  void SetUp() override {
    Host::SetUp();
    makeFrom("frozen.json");
  }
};

TEST_F(Seam, ListsTheAdaptersInOrder) {
  void *handle = nullptr;
  ASSERT_EQ(Signature("nvmeMgmt").init(&handle), 0);
  auto list = std::make_unique<nvme_adapter_list>();
  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(handle, 0, 16, &list->count, &list->adapters), 0);
  vmk_MgmtUserDestroy(handle);
  ASSERT_EQ(list->count, 2U);
  EXPECT_STREQ(list->adapters[0].name, "vmhba2");
  EXPECT_STREQ(list->adapters[1].name, "vmhba3");
  EXPECT_STREQ(list->adapters[1].signature, "nvmeMgmt-vmhba3");
}

TEST_F(Seam, RefusesSignaturesThatAreNotExact) {
  struct Row {
    const char *what;
    std::function<void(Signature &)> spoil;
  };
  const Row rows[] = {
      {"version", [](Signature &s) { s.value.version = 0x10000; }},
      {"vendor", [](Signature &s) { s.value.vendor[0] = 'v'; }},
      {"name", [](Signature &s) { s.value.name[0] = 'N'; }},
      {"count", [](Signature &s) { s.value.numCallbacks = 1; }},
      {"size", [](Signature &s) { s.callbacks[1].parmSizes[1] = 119; }},
      {"type", [](Signature &s) { s.callbacks[1].parmTypes[1] = VMK_MGMT_PARMTYPE_OUT; }},
      {"location", [](Signature &s) { s.callbacks[0].location = 0; }},
      {"synchronous", [](Signature &s) { s.callbacks[0].synchronous = 0; }},
      {"id", [](Signature &s) { s.callbacks[0].callbackId = 18; }},
  };
  for (const Row &row : rows) {
    Signature signature("nvmeMgmt-vmhba2");
    row.spoil(signature);
    void *handle = nullptr;
    EXPECT_NE(signature.init(&handle), 0) << row.what;
    EXPECT_NE(takeViolations().find("management signature"), std::string::npos) << row.what;
  }
}

TEST_F(Seam, HoldsBreachesOfTheProtocolAgainstTheCaller) {
  static Page page;
  struct Row {
    const char *what;
    std::function<void(usr_io &)> spoil;
    const char *told;
  };
  const Row rows[] = {
      {"dword", [](usr_io &u) { u.cmd.cdw13 = 1; }, "dword 13"},
      {"argument", [](usr_io &u) { u.cmd.cdw12 |= 1 << 16; }, "argument"},
      {"nsid", [](usr_io &u) { u.cmd.nsid = 1; }, "NSID"},
      {"length", [](usr_io &u) { u.length = 4092; }, "4092"},
      {"no data", [](usr_io &u) { u.length = 0; }, "length is 0"},
      {"direction", [](usr_io &u) { u.direction = TRX_TO_CONTROLLER; }, "no data to"},
      {"no timeout", [](usr_io &u) { u.timeoutUs = 0; }, "timeout"},
      {"null", [](usr_io &u) { u.addr = 0; }, "without a data pointer"},
      {"alignment", [](usr_io &u) { u.addr += 8; }, "aligned"},
      {"reserved", [](usr_io &u) { u.reserved = 1; }, "reserved"},
      {"metadata", [](usr_io &u) { u.meta_length = 8; }, "metadata"},
      {"dword 3", [](usr_io &u) { u.cmd.cdw3 = 1; }, "dword 3"},
      {"fuse", [](usr_io &u) { u.cmd.flags = 1; }, "FUSE"},
      {"dword 10", [](usr_io &u) { u.cmd.cdw10 = 7; }, "dword 10"},
  };
  for (const Row &row : rows) {
    usr_io uio = withPage(block(0xE2, 0xE1), page);
    row.spoil(uio);
    Result result = send(uio);
    EXPECT_EQ(result.folded(), unsigned{TRX_NVME_SC_INVALID_FIELD}) << row.what;
    EXPECT_NE(result.status, 0U) << row.what;
    EXPECT_NE(takeViolations().find(row.told), std::string::npos) << row.what;
  }
}

TEST_F(Seam, RefusesUnknownFunctionsWithoutHoldingThemAgainstTheCaller) {
  EXPECT_EQ(send(block(0xE2, 0x77E0)).folded(), 0x705U);
  EXPECT_EQ(send(block(0x7F)).folded(), unsigned{TRX_NVME_SC_INVALID_OPCODE});
  Page page;
  EXPECT_EQ(send(withPage(block(0x06), page)).folded(), unsigned{TRX_NVME_SC_INVALID_NS});
}

TEST_F(Seam, IdentifiesItself) {
  Page page;
  usr_io uio = withPage(block(0x06), page);
  uio.cmd.cdw10 = 1;
  ASSERT_TRUE(send(uio).ok());
  auto data = page.at<TRX_ID_CONTROLLER>(0);
  EXPECT_EQ(data.VID, 0x7472);
  EXPECT_EQ(data.FRMW >> 1 & 7, 3);

  ASSERT_TRUE(function(0xE0, 0, page).ok());
  EXPECT_EQ(page.at<uint16_t>(28), 0x5201);
  EXPECT_EQ(page.at<NVME_Adapter_Info>(8).MaxVD, 8);

  uio = withPage(block(0x06), page);
  uio.cmd.nsid = 2;
  ASSERT_TRUE(send(uio).ok());
  const uint8_t eui[8] = {0x74, 0x72, 0x58, 0, 0, 0, 0, 2};
  EXPECT_EQ(std::memcmp(page.bytes + 120, eui, 8), 0);
}

TEST_F(Seam, GivesTheHealthLogThatGrowsWithTime) {
  auto units = [] {
    Page page;
    usr_io uio = withPage(block(0x02), page);
    uio.cmd.cdw10 = 0x007F0002;
    uio.cmd.nsid = 0xFFFFFFFF;
    uio.length = 512;
    EXPECT_TRUE(send(uio).ok());
    EXPECT_EQ(page.bytes[512], 0) << "no byte past what was asked for";
    return page.at<uint64_t>(32);
  };
  uint64_t before = units();
  sim::advanceClock(directory, 3600 * 1000);
  EXPECT_GT(units(), before);
}

TEST_F(Seam, ListsObjectsAndRefusesIdsThatAreNotThere) {
  Page page;
  ASSERT_TRUE(function(0xE1, 3, page).ok());
  auto disk = page.at<NVME_PD_Info>(8);
  EXPECT_EQ(std::string(reinterpret_cast<char *>(disk.Model), 17), "Brenta B200 800GB");
  EXPECT_EQ(disk.Status, TRX_PD_STATUS_ASSIGNED);
  NVME_VD_Info degraded = volume(1);
  EXPECT_EQ(degraded.Status, TRX_VD_STATUS_DEGRADE);
  EXPECT_EQ(degraded.PDIDs[1], TRX_PD_ID_MISSING);
  EXPECT_EQ(degraded.NSIDs[1], 3);
  EXPECT_EQ(volume(3).Importable, 1);
  ASSERT_TRUE(function(0x2E3, 0, page).ok());
  EXPECT_EQ(page.at<NVME_BGA_Status>(8).Percentage, 37);

  struct Row {
    uint32_t cdw12, cdw14;
    uint8_t status;
  };
  for (const Row &row :
       {Row{0xE1, 8, 6}, Row{0xE1, 0xFFFF, 6}, Row{0xE2, 9, 7}, Row{0x2E3, 9, 7}, Row{0x0901E5, 0, 7}}) {
    ASSERT_TRUE(function(row.cdw12, row.cdw14, page).ok());
    EXPECT_EQ(page.bytes[4], row.status) << std::hex << row.cdw12;
  }
}

TEST_F(Seam, AttachesAndDetachesNamespaces) {
  struct Row {
    const char *what;
    uint32_t nsid, select;
    std::vector<uint16_t> list;
    unsigned status;
  };
  const Row rows[] = {
      {"attach", 3, 0, {1, 0}, 0},
      {"again", 3, 0, {1, 0}, 0x118},
      {"another in the list", 3, 0, {1, 0, 1}, 0},
      {"private", 4, 0, {1, 1}, 0x119},
      {"detach", 4, 1, {1, 0}, 0},
      {"not attached", 4, 1, {1, 0}, 0x11A},
      {"empty list", 3, 0, {0}, 0x11C},
      {"id too large", 3, 0, {1, 34}, 0x11C},
      {"no such", 99, 0, {1, 0}, 0x0B},
  };
  for (Row row : rows) {
    if (std::string(row.what) == "another in the list") row.list = {2, 0, 1};
    Page page;
    std::memcpy(page.bytes, row.list.data(), row.list.size() * 2);
    usr_io uio = withPage(block(0x15), page, TRX_TO_CONTROLLER);
    uio.cmd.nsid = row.nsid;
    uio.cmd.cdw10 = row.select;
    EXPECT_EQ(send(uio).folded(), row.status) << row.what;
  }
}

TEST_F(Seam, KeepsTheConfigurationAndWritesTheJournal) {
  usr_io uio = block(0xE2, 0x2E0);
  uio.cmd.cdw14 = 0x2000;
  ASSERT_TRUE(send(uio).ok());
  Page page;
  ASSERT_TRUE(function(0x1E0, 0, page).ok());
  EXPECT_EQ(page.at<NVME_Adapter_Config>(8).BGARate, TRX_BGA_RATE_LOW);
  EXPECT_NE(journal().find("[MSG]Background activity rate changed to 10%\n"), std::string::npos);
  uio = block(0xE2, 0x2E0);
  uio.cmd.cdw14 = 0x0700;
  EXPECT_EQ(send(uio).folded(), 0x704U);
}

TEST_F(Seam, JournalIsARingOfPagesWithoutTornLines) {
  for (int i = 0; i < 1500; ++i) {
    usr_io uio = block(0xE2, 0x2E0);
    uio.cmd.cdw14 = i % 2 == 0 ? 0x2000 : 0x0000;
    ASSERT_TRUE(send(uio).ok());
  }
  std::string text = journal();
  size_t lines = 0;
  for (size_t at = 0; at < text.size(); ++lines) {
    size_t end = text.find('\n', at);
    ASSERT_NE(end, std::string::npos);
    std::string line = text.substr(at, end - at);
    EXPECT_EQ(line.find("[SEQ]"), 0U) << line;
    EXPECT_NE(line.find("[MSG]Background"), std::string::npos) << line;
    at = end + 1;
  }
  EXPECT_GT(lines, 600U);
  EXPECT_NE(text.find("[SEQ]1505["), std::string::npos) << "the newest line";
  EXPECT_EQ(text.find("[SEQ]100["), std::string::npos) << "an old line that was overwritten";
}

}  // namespace
}  // namespace simtest
