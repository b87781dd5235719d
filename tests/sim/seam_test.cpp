// SPDX-License-Identifier: GPL-3.0-or-later
// The management library's functions: signatures, the checks that every command meets, the standard
// commands and the functions of the pass-through door.
#include <functional>

#include "seam.h"

namespace simtest {
namespace {

using Seam = FrozenHost;

TEST_F(Seam, RefusesSignaturesThatAreNotExact) {
  struct Row {
    const char *what;
    std::function<void(Signature &)> spoil;
  };
  const Row rows[] = {
      {"version", [](Signature &s) { s.value.version = 0x10000; }},
      {"vendor", [](Signature &s) { s.value.vendor[0] = 'v'; }},
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
      {"direction", [](usr_io &u) { u.direction = TRX_TO_CONTROLLER; }, "no data to"},
      {"no timeout", [](usr_io &u) { u.timeoutUs = 0; }, "timeout"},
      {"alignment", [](usr_io &u) { u.addr += 8; }, "aligned"},
      {"reserved", [](usr_io &u) { u.reserved = 1; }, "reserved"},
      {"metadata", [](usr_io &u) { u.meta_length = 8; }, "metadata"},
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
  for (auto [cdw12, status] : {std::pair{0xE1U, 6}, {0xE2U, 7}, {0x2E3U, 7}}) {
    ASSERT_TRUE(function(cdw12, 9, page).ok());
    EXPECT_EQ(page.bytes[4], status) << std::hex << cdw12;
  }
  usr_io config = block(0xE2, 0x2E0);
  config.cmd.cdw14 = 0x0700;
  EXPECT_EQ(send(config).folded(), 0x704U) << "no such rate";
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
      {"another in the list", 3, 0, {2, 0, 1}, 0},
      {"private", 4, 0, {1, 1}, 0x119},
      {"detach", 4, 1, {1, 0}, 0},
      {"not attached", 4, 1, {1, 0}, 0x11A},
      {"empty list", 3, 0, {0}, 0x11C},
      {"no such", 99, 0, {1, 0}, 0x0B},
  };
  for (const Row &row : rows) {
    Page page;
    std::memcpy(page.bytes, row.list.data(), row.list.size() * 2);
    usr_io uio = withPage(block(0x15), page, TRX_TO_CONTROLLER);
    uio.cmd.nsid = row.nsid;
    uio.cmd.cdw10 = row.select;
    EXPECT_EQ(send(uio).folded(), row.status) << row.what;
  }
}

}  // namespace
}  // namespace simtest
