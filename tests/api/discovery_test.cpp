// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/vmware/discovery.h"

#include <chrono>
#include <thread>

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
  for (const char *name : {"vmhba9", "vmhba3", "vmhba7", "vmhba5", "vmhba4", "vmhba1"})
    platform.addAdapter(name);
  platform.replies = {
      identifyReply(),
      controllerInformation(),  // vmhba9
      identifyReply(0x8086),    // vmhba3: somebody else's
      identifyReply(),
      controllerInformation(0x1234),  // vmhba7: another device
      {.driverStatus = 5, .sc = 6},   // vmhba5: no answer
      identifyReply(),
      {.data = controllerInformation().data, .driverStatus = 5, .sc = 6},  // vmhba4: half an answer
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
  const std::pair<std::string, std::string> rows[] = {
      {"/nowhere", "libvmkmgmt.so: cannot open shared object file: No such file or directory\n"},
      {TRX_LACKING_DIR, "libvmkmgmt.so has no vmk_MgmtUserDestroy.\n"},
  };
  for (const auto &[folder, reason] : rows) {
    const std::string command = "LD_LIBRARY_PATH=" + folder + " " TRX_EXAMPLE " 2>&1";
    std::array<char, 400> text{};
    FILE *pipe = popen(command.c_str(), "r");
    ASSERT_TRUE(pipe);
    const size_t length = fread(text.data(), 1, text.size(), pipe);
    EXPECT_EQ(pclose(pipe), 0);
    EXPECT_EQ(std::string(text.data(), length), reason + "Failed to initialize NVMe.");
  }
}

TEST_F(Discovery, LooksAgainAfterATransferAndForgets) {
  start(2);
  platform.answer = [](const Command &command) {
    if (command.io.cmd.opcode != TRX_NVME_FIRMWARE_COMMIT) return supported(command);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return Reply{};
  };
  NVME_Flash_Result result{};
  EXPECT_EQ(TRX_Adapter_Flash(1, nullptr, 1, TRX_NVME_COMMIT_ACTIVATE_NOW, 0), 0u);
  TRX_Init();
  EXPECT_EQ(platform.commands.at(0).io.cmd.opcode, TRX_NVME_FIRMWARE_COMMIT) << "it did not wait";
  EXPECT_EQ(platform.commands.size(), 5u);
  EXPECT_EQ(TRX_Adapter_GetCount(), 2);
  EXPECT_EQ(TRX_Adapter_Flash_Result(1, &result), 0u);
  EXPECT_EQ(result.percentage, 0) << "of an earlier transfer";
  TRX_Final();
  EXPECT_EQ(TRX_Adapter_GetCount(), 0);
  EXPECT_STREQ(TRX_Adapter_GetDevicePath(0), "");
  NVME_Adapter_Config config{};
  EXPECT_EQ(TRX_Adapter_GetConfig(0, &config), 1u);
  EXPECT_EQ(platform.commands.size(), 5u);
}

// Of the host's `lspci`, and of every adapter that it puts there.
TEST_F(Discovery, FindsAdaptersByTheirPlace) {
  const std::string script =
      "#!/bin/sh\necho '0000:03:00.00 x [vmhba0]'\necho '0000:04:00.00 x [vmhba1]'\n"
      "echo '0000:03:00.00 x [vmhba2]'\necho $1 >>$(dirname $0)/calls\n";
  const TemporaryFile lspci("lspci", Bytes(script.begin(), script.end()));
  std::filesystem::permissions(lspci.path(), std::filesystem::perms::owner_all);
  const std::string path = getenv("PATH");
  setenv("PATH", (lspci.folder() + ":" + path).c_str(), 1);
  start(3);
  EXPECT_STREQ(TRX_Adapter_GetDeviceFun(1), "04:00.00");
  TRX_U8 id = 77;
  EXPECT_EQ(printed([&] { EXPECT_TRUE(findAdapterId("03:00.00", &id)); }),
            "device.bus_dev_fun: 03:00.00\ndevice.bus_dev_fun: 03:00.00\n");
  EXPECT_EQ(id, 2) << "the last one wins";
  EXPECT_EQ(printed([&] { EXPECT_FALSE(findAdapterId("05:00.00", &id) || findAdapterId("", &id)); }), "");
  EXPECT_EQ(id, 2);
  EXPECT_EQ(TRX_Adapter_GetSlotID(1), 0xFFFFFFFFu);
  const auto calls = [&] {
    std::ifstream file(lspci.folder() + "/calls");
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  EXPECT_EQ(calls(), "-p\n") << "once";
  platform.answer = supported;
  TRX_Init();
  EXPECT_EQ(printed([&] { EXPECT_TRUE(findAdapterId("04:00.00", &id)); }), "device.bus_dev_fun: 04:00.00\n");
  EXPECT_EQ(calls(), "-p\n-p\n") << "once more after a new look";
  setenv("PATH", path.c_str(), 1);
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
