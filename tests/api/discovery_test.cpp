// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/vmware/discovery.h"

#include "api_test.h"

namespace {

using Discovery = ApiTest;

Reply supported(const Command &command) {
  return command.io.cmd.opcode == 0x06 ? identifyReply() : controllerInformation();
}

TEST_F(Discovery, TakesUpTo33Controllers) {
  const std::tuple<int, TRX_U8, const char *> rows[] = {
      {0, 0, ""},
      {1, 1, ""},
      {2, 2, ""},
      {33, 33, ""},
      {34, 33, "More than 33 supported controllers: 1 left out.\n"},
      {64, 33, "More than 33 supported controllers: 31 left out.\n"}};
  platform.answer = supported;
  for (const auto &[there, found, error] : rows) {
    platform.adapters.clear();
    platform.count = 0;
    for (int i = 0; i < there; ++i) platform.addAdapter("vmhba" + std::to_string(i));
    testing::internal::CaptureStderr();
    TRX_Init();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), error);
    EXPECT_EQ(TRX_Adapter_GetCount(), found);
    for (TRX_U8 i = 0; i < found; ++i) {
      EXPECT_EQ(TRX_Adapter_GetDevicePath(i), "vmhba" + std::to_string(i));
    }
    EXPECT_EQ(platform.openHandles, 0);
    TRX_Final();
    EXPECT_EQ(TRX_Adapter_GetCount(), 0);
  }
}

TEST_F(Discovery, KeepsOnlySupportedControllersInOrder) {
  for (const char *name : {"vmhba9", "vmhba3", "vmhba7", "vmhba5", "vmhba1"}) platform.addAdapter(name);
  platform.replies = {identifyReply(),
                      controllerInformation(),  // vmhba9
                      identifyReply(0x8086),    // vmhba3: somebody else's
                      identifyReply(),
                      controllerInformation(0x1234),  // vmhba7: another device
                      {.driverStatus = 5, .sc = 6},   // vmhba5: no answer
                      identifyReply(),
                      controllerInformation()};  // vmhba1
  printed([] { TRX_Init(); });
  ASSERT_EQ(TRX_Adapter_GetCount(), 2);
  EXPECT_STREQ(TRX_Adapter_GetDevicePath(0), "vmhba9");
  EXPECT_STREQ(TRX_Adapter_GetDevicePath(1), "vmhba1");
  EXPECT_EQ(TRX_Adapter_GetOneBaseMode(), 0);
  EXPECT_EQ(TRX_IsSysDenied(), 0);
}

TEST_F(Discovery, LivesWithoutThePlatformLibrary) {
  for (const std::string folder : {"/nowhere", TRX_LACKING_DIR}) {
    const std::string command = "LD_LIBRARY_PATH=" + folder + " " TRX_API_CONSUMER;
    std::array<char, 200> text{};
    FILE *pipe = popen(command.c_str(), "r");
    ASSERT_TRUE(pipe);
    const size_t length = fread(text.data(), 1, text.size(), pipe);
    EXPECT_EQ(pclose(pipe), 0);
    EXPECT_EQ(std::string(text.data(), length), "Failed to initialize NVMe.\n1.0.0.1035 0\n");
  }
}

TEST_F(Discovery, ReadsPciLocations) {
  struct {
    std::vector<std::string> lines;
    const char *name, *location;
  } const rows[] = {
      {{"0000:03:00.00 Mass storage controller [vmhba2]\n"}, "vmhba2", "03:00.00"},
      {{"0000: 03:00.00\tx vmhba2\n"}, "vmhba2", "03:00.00"},
      {{"0000:03:00.00 x vmhba1\n"}, "vmhba2", "was"},
      {{"0000:03:00.00 x vmhba1\n", "0000:0a:00.00 x vmhba10\n"},
       "vmhba1",
       "0a:00.00"},  // a part of the name
      {{":03:00.00 vmhba2\n", "vmhba2:\n", ""}, "vmhba2", "was"},
      {{"a:" + std::string(4000, 'b') + " vmhba2"}, "vmhba2", "bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb"},
  };
  for (const auto &row : rows) {
    char location[32] = "was";
    getBusDeviceFun(row.lines, location, row.name);
    EXPECT_STREQ(location, row.location) << row.lines[0];
  }
}

}  // namespace
