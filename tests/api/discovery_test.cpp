// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/vmware/discovery.h"

#include <unistd.h>

#include "api_test.h"

namespace {

using Discovery = ApiTest;

Reply supported(const Command &command) {
  return command.io.cmd.opcode == 0x06 ? identifyReply() : controllerInformation();
}

TEST_F(Discovery, TakesUpTo33Controllers) {
  platform.answer = supported;
  for (const int there : {0, 1, 2, 33, 34, 64}) {
    const int found = std::min(there, 33);
    const std::string left = std::to_string(there - found) + " left out.\n";
    const std::string error = there > 33 ? "2>More than 33 supported controllers: " + left : "";
    platform.adapters.clear();
    for (int i = 0; i < there; ++i) platform.addAdapter("vmhba" + std::to_string(i));
    EXPECT_EQ(printed([] { TRX_Init(); }), error);
    EXPECT_EQ(TRX_Adapter_GetCount(), found);
    for (TRX_U8 i = 0; i < found; ++i) EXPECT_EQ(TRX_Adapter_GetDevicePath(i), "vmhba" + std::to_string(i));
    EXPECT_EQ(platform.openHandles, 0);
    TRX_Final();
    EXPECT_EQ(TRX_Adapter_GetCount(), 0);
  }
}

TEST_F(Discovery, KeepsOnlySupportedControllersInOrder) {
  // clang-format off
  const std::pair<const char *, std::vector<Reply>> rows[] = {
      {"vmhba9", {identifyReply(), controllerInformation()}},
      {"vmhba3", {identifyReply(0x8086)}},                           // somebody else's
      {"vmhba7", {identifyReply(), controllerInformation(0x1234)}},  // another device
      {"vmhba5", {{.driverStatus = 5, .sc = 6}}},                    // no answer
      {"vmhba4", {identifyReply(), {.data = controllerInformation().data, .driverStatus = 5, .sc = 6}}},
      {"vmhba1", {identifyReply(), controllerInformation()}},
  };
  // clang-format on
  for (const auto &[name, replies] : rows) {
    platform.addAdapter(name);
    platform.replies.insert(platform.replies.end(), replies.begin(), replies.end());
  }
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
    const std::string command = "LD_LIBRARY_PATH=" + folder + " " TRX_EXAMPLE;
    EXPECT_EQ(printed([&] { EXPECT_EQ(std::system(command.c_str()), 0); }),
              "2>" + reason + "Failed to initialize NVMe.");
  }
}

TEST_F(Discovery, WaitsForTransfersLooksAgainAndForgets) {
  start(2);
  platform.answer = [](const Command &command) {
    if (command.io.cmd.opcode != TRX_NVME_FIRMWARE_COMMIT) return supported(command);
    usleep(20'000);
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
  EXPECT_EQ(TRX_Adapter_Flash(1, nullptr, 1, TRX_NVME_COMMIT_ACTIVATE_NOW, 0), 0u);
  TRX_Final();
  EXPECT_EQ(platform.commands.size(), 6u) << "it did not wait";
  EXPECT_EQ(TRX_Adapter_GetCount(), 0);
  EXPECT_STREQ(TRX_Adapter_GetDevicePath(0), "");
  NVME_Adapter_Config config{};
  EXPECT_EQ(TRX_Adapter_GetConfig(0, &config), 1u);
  EXPECT_EQ(platform.commands.size(), 6u);
}

// Of the host's `lspci`, and of every adapter that it puts there.
TEST_F(Discovery, FindsAdaptersByTheirPlace) {
  const std::string all = "0000:03:00.00 x [vmhba0]\n0000:04:00.00 x [vmhba1]\n0000:03:00.00 x [vmhba2]";
  const std::string script = "#!/bin/sh\necho '" + all + "'\n[ $1 = -p ] && echo >>$(dirname $0)/calls\n";
  const TemporaryFile lspci("lspci", Bytes{} + script);
  std::filesystem::permissions(lspci.path, std::filesystem::perms::owner_all);
  const std::string path = getenv("PATH");
  setenv("PATH", (lspci.folder + ":" + path).c_str(), 1);
  start(3);
  EXPECT_STREQ(TRX_Adapter_GetDeviceFun(1), "04:00.00");
  TRX_U8 id = 77;
  EXPECT_EQ(printed([&] { EXPECT_TRUE(findAdapterId("03:00.00", &id)); }),
            "device.bus_dev_fun: 03:00.00\ndevice.bus_dev_fun: 03:00.00\n");
  EXPECT_EQ(id, 2) << "the last one wins";
  EXPECT_EQ(printed([&] { EXPECT_FALSE(findAdapterId("05:00.00", &id) || findAdapterId("", &id)); }), "");
  EXPECT_EQ(id, 2);
  EXPECT_EQ(TRX_Adapter_GetSlotID(1), 0xFFFFFFFFu);
  const auto calls = [&] { return std::filesystem::file_size(lspci.folder + "/calls"); };
  EXPECT_EQ(calls(), 1u) << "once";
  platform.answer = supported;
  TRX_Init();
  EXPECT_EQ(printed([&] { EXPECT_TRUE(findAdapterId("04:00.00", &id)); }), "device.bus_dev_fun: 04:00.00\n");
  EXPECT_EQ(calls(), 2u) << "once more after a new look";
  setenv("PATH", path.c_str(), 1);
}

TEST_F(Discovery, ReadsPciLocations) {
  const std::tuple<std::vector<std::string>, const char *, const char *> rows[] = {
      {{"0000:03:00.00 Mass storage controller [vmhba2]\n"}, "vmhba2", "03:00.00"},
      {{"0000: 03:00.00\tx vmhba2\n"}, "vmhba2", "03:00.00"},
      {{"0000:03:00.00 x vmhba1\n"}, "vmhba2", "was"},
      {{"0:03:00.00 x vmhba1\n", "0:0a:00.00 x vmhba10\n"}, "vmhba1", "0a:00.00"},  // a part of the name
      {{":03:00.00 vmhba2\n", "vmhba2:\n", ""}, "vmhba2", "was"},
      {{"a:" + std::string(4000, 'b') + " vmhba2"}, "vmhba2", "bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb"},
  };
  for (const auto &[lines, name, expected] : rows) {
    char location[32] = "was";
    getBusDeviceFun(lines, location, name);
    EXPECT_STREQ(location, expected) << lines[0];
  }
}

}  // namespace
