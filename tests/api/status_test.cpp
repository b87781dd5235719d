// SPDX-License-Identifier: GPL-3.0-or-later
#include "api_test.h"

namespace {

TEST(Status, HasWords) {
  // clang-format off
  const TRX_U32 codes[] = {0, 0x1, 0x16, 0x17, 0x1F, 0x7F, 0x80, 0x84, 0x202, 0x104, 0x10B, 0x117, 0x123, 0x702, 0x709, 0x733, 0x737, 0x74A, 0x74B, 0xFFFFFFEA};
  const char words[] =
      "Invalid Command Opcode (Status Code: 0x1)\nSGL Offset Invalid (Status Code: 0x16)\nUnknown Status (Status Code: 0x17)\nCommand Not Supported for Queue in CMB (Status Code: 0x1f)\n"
      "Unknown Status (Status Code: 0x7f)\nLBA Out of Range (Status Code: 0x80)\nFormat In Progress (Status Code: 0x84)\nUnknown Status (Status Code: 0x202)\n"
      "Unknown error (Status Code: 0x104)\nFirmware Activation Requires Conventional Reset (Status Code: 0x10b)\nUnknown error (Status Code: 0x117)\nUnknown error (Status Code: 0x123)\n"
      "Unknown error (Status Code: 0x702)\nOperation in progress (Status Code: 0x709)\nLD is not redundant (Status Code: 0x733)\nUnknown error (Status Code: 0x737)\n"
      "Invalid Namespace count (Status Code: 0x74a)\nUnknown error (Status Code: 0x74b)\nUnknown error (Status Code: 0xffffffea)\n";
  const std::tuple<TRX_U32, TRX_STATUS_SOURCE, const char *> sources[] = {
      {0, TRX_STATUS_NVME, "Successful Completion"}, {0x0B, TRX_STATUS_NVME, "Invalid Namespace or Format"}, {0x73B, TRX_STATUS_NVME, "HD is assigned"},
      {0x3B, TRX_STATUS_FIRMWARE, "HD is assigned"}, {0x73B, TRX_STATUS_FIRMWARE, "HD is assigned"}, {0, TRX_STATUS_FIRMWARE, "No error"}, {2, TRX_STATUS_FIRMWARE, "Unknown error"},
      {5, TRX_STATUS_PLATFORM, "Input/output error"}, {0xFFFFFFEA, TRX_STATUS_PLATFORM, "Invalid argument"},
      {0x80000000, TRX_STATUS_PLATFORM, "Unknown error -2147483648"}, {0xBAD0001, TRX_STATUS_PLATFORM, "Unknown error 195887105"},
  };
  // clang-format on
  EXPECT_EQ(printed([&] { std::for_each(std::begin(codes), std::end(codes), _showStatusCode); }), words);
  for (const auto &[status, source, text] : sources)
    EXPECT_STREQ(TRX_StatusText(status, source), text) << status;
  EXPECT_STREQ(ErrorMessage(0x100), "No error");
  EXPECT_STREQ(ErrorMessage(0x701), "Failed");
  EXPECT_STREQ(ErrorMessage(2), "Unknown error");
}

// Where bits and halves lie; the offsets of whole fields are checked by the compiler.
TEST(Records, HavePinnedBytes) {
  TRX_U64 size{};
  size.parts = {.low = 0x01020304, .high = 0x0A0B0C0D};
  const cq_entry completion = {0, 0, 0, 0, 0x0102, 0, 0x0B, 1, 0, 0, 1};
  TRX_FIRMWARE_SLOT_INFO_LOG log{};
  log.AFI = {.ActiveSlot = 2, .Reserved0 = 0, .PendingActivateSlot = 3, .Reserved1 = 0};
  const NVME_LED led = {0x0102, 3, 5, 1, {}};
  EXPECT_EQ(bytesOf(led), (Bytes{2, 1, 3, 0x85, 0, 0, 0, 0}));
  EXPECT_EQ(bytesOf(size), (Bytes{4, 3, 2, 1, 0x0D, 0x0C, 0x0B, 0x0A}));
  EXPECT_EQ(bytesOf(completion), (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 1, 0x16, 0x82}));
  EXPECT_EQ(head(bytesOf(log), 2), (Bytes{0x32, 0}));
}

// The messages of the library, taken by a program instead of being printed.
using Messages = ApiTest;

TEST_F(Messages, AreTakenInsteadOfBeingPrintedAlsoOfATransfer) {
  std::string taken;
  const auto take = [](void *context, int severity, const char *text) {
    *static_cast<std::string *>(context) += std::to_string(severity) + " " + text + "|";
  };
  const std::string text = printed([&] {
    TRX_SetMessageHandler(take, &taken);
    platform.listStatus = 13;
    TRX_Init();
    platform.listStatus = 0;
    start();
    TRX_Adapter_OEM(0, nullptr);
    NVME_Adapter_Time time{};
    EXPECT_EQ(TRX_Adapter_SetTime(9, &time), 47u);
    platform.replies.push_back({.driverStatus = 5, .sct = 1, .sc = 7});
    TRX_Adapter_Admin(0, 2, 0, nullptr, 0, nullptr, 0, nullptr, 0);
    char path[] = "/nowhere";
    TRX_Adapter_Flash(0, path, 1, 1, 0);
    TRX_Final();  // waits for it
    TRX_SetMessageHandler(nullptr, nullptr);
    TRX_Adapter_OEM(0, nullptr);
  });
  EXPECT_EQ(text, "not support now");
  EXPECT_EQ(taken,
            "2 The platform does not list its NVMe adapters: status 13 (Permission denied).\n|"
            "2 Failed to initialize NVMe.|1 not support now|"
            "2 [TRX_Adapter_SetTime][145]Fail..., errStatus=1\n|"
            "2 NVMEDevice_sendCommand Failed, Input/output error.\n|"
            "2 Invalid Firmware Image (Status Code: 0x107)\n|"
            "2 Firmware image /nowhere: cannot be opened: No such file or directory.\n|");
}

}  // namespace
