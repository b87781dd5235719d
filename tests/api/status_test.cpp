// SPDX-License-Identifier: GPL-3.0-or-later
#include "api_test.h"

namespace {

TEST(Status, HasWords) {
  const std::pair<TRX_U32, const char *> rows[] = {
      {0, ""},
      {0x1, "Invalid Command Opcode (Status Code: 0x1)\n"},
      {0x16, "SGL Offset Invalid (Status Code: 0x16)\n"},
      {0x17, "Unknown Status (Status Code: 0x17)\n"},
      {0x1F, "Command Not Supported for Queue in CMB (Status Code: 0x1f)\n"},
      {0x7F, "Unknown Status (Status Code: 0x7f)\n"},
      {0x80, "LBA Out of Range (Status Code: 0x80)\n"},
      {0x84, "Format In Progress (Status Code: 0x84)\n"},
      {0x202, "Unknown Status (Status Code: 0x202)\n"},
      {0x104, "Unknown error (Status Code: 0x104)\n"},
      {0x10B, "Firmware Activation Requires Conventional Reset (Status Code: 0x10b)\n"},
      {0x117, "Unknown error (Status Code: 0x117)\n"},
      {0x123, "Unknown error (Status Code: 0x123)\n"},
      {0x702, "Unknown error (Status Code: 0x702)\n"},
      {0x709, "Operation in progress (Status Code: 0x709)\n"},
      {0x733, "LD is not redundant (Status Code: 0x733)\n"},
      {0x737, "Unknown error (Status Code: 0x737)\n"},
      {0x74A, "Invalid Namespace count (Status Code: 0x74a)\n"},
      {0x74B, "Unknown error (Status Code: 0x74b)\n"},
      {0xFFFFFFEA, "Unknown error (Status Code: 0xffffffea)\n"},
  };
  for (const auto &[status, text] : rows) {
    testing::internal::CaptureStdout();
    _showStatusCode(status);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), text);
  }
  const std::tuple<TRX_U32, TRX_STATUS_SOURCE, const char *> sources[] = {
      {0, TRX_STATUS_NVME, "Successful Completion"},
      {0x0B, TRX_STATUS_NVME, "Invalid Namespace or Format"},
      {0x73B, TRX_STATUS_NVME, "HD is assigned"},
      {0x3B, TRX_STATUS_FIRMWARE, "HD is assigned"},
      {0x73B, TRX_STATUS_FIRMWARE, "HD is assigned"},
      {0, TRX_STATUS_FIRMWARE, "No error"},
      {2, TRX_STATUS_FIRMWARE, "Unknown error"},
      {5, TRX_STATUS_PLATFORM, "Input/output error"},
      {0xFFFFFFEA, TRX_STATUS_PLATFORM, "Invalid argument"},
      {0x80000000, TRX_STATUS_PLATFORM, "Unknown error -2147483648"},
      {0xBAD0001, TRX_STATUS_PLATFORM, "Unknown error 195887105"},
  };
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
  cq_entry completion{};
  completion.cmdID = 0x0102;
  completion.SC = 0x0B;
  completion.SCT = 1;
  completion.noRetry = 1;
  TRX_FIRMWARE_SLOT_INFO_LOG log{};
  log.AFI.ActiveSlot = 2;
  log.AFI.PendingActivateSlot = 3;
  EXPECT_EQ(bytesOf(size), (Bytes{4, 3, 2, 1, 0x0D, 0x0C, 0x0B, 0x0A}));
  EXPECT_EQ(bytesOf(completion), (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 1, 0x16, 0x82}));
  EXPECT_EQ(head(bytesOf(log), 2), (Bytes{0x32, 0}));
}

}  // namespace
