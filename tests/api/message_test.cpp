// SPDX-License-Identifier: GPL-3.0-or-later
// The messages of the library, taken by a program instead of being printed.
#include "api_test.h"

namespace {

class Messages : public ApiTest {
 protected:
  Messages() { TRX_SetMessageHandler(take, this); }
  ~Messages() override { TRX_SetMessageHandler(nullptr, nullptr); }

  static void take(void *context, int severity, const char *text) {
    static_cast<Messages *>(context)->taken += std::to_string(severity) + " " + text + "|";
  }

  std::string taken;
};

TEST_F(Messages, AreTakenInsteadOfBeingPrintedAlsoOfATransfer) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
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
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "not support now");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(taken,
            "2 The platform does not list its NVMe adapters: status 13 (Permission denied).\n|"
            "2 Failed to initialize NVMe.|"
            "1 not support now|"
            "2 [TRX_Adapter_SetTime][145]Fail..., errStatus=1\n|"
            "2 NVMEDevice_sendCommand Failed, Input/output error.\n|"
            "2 Invalid Firmware Image (Status Code: 0x107)\n|"
            "2 Firmware image /nowhere: cannot be opened: No such file or directory.\n|");
}

}  // namespace
