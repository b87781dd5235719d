// SPDX-License-Identifier: GPL-3.0-or-later
// What the host is told around a change of virtual disks, and the guard of the system's disk.
#include <numeric>

#include "api_test.h"
#include "function/systemdisk.h"

namespace {

using Namespaces = std::vector<NVME_NS_Info>;

class SysNotify : public StartedTest {
 protected:
  // Script what the hooks read: the controller, its namespaces, and which of its volumes exist.
  static void state(TRX_U8 maxNs, const Namespaces &namespaces, const std::vector<bool> &volumes) {
    NVME_Adapter_Info info{};
    info.MaxNS = maxNs;
    info.MaxVD = static_cast<TRX_U8>(volumes.size());
    Bytes list;
    for (const NVME_NS_Info &ns : namespaces) list = list + bytesOf(ns);
    exchange(0, bytesOf(info));
    exchange(0, list);
    for (const bool exists : volumes) exchange(exists ? 0 : 7);
  }

  static TRX_U32 create() {
    NVME_Create_VD request{};
    return TRX_VD_Create(0, &request);
  }
};

NVME_NS_Info ns(TRX_U8 id, TRX_U8 status, TRX_U8 deviceType = TRX_NS_DEVICE_VD) {
  return {id, deviceType, 0, status, 0, {}, 0, 0, {}, {}};
}

const Namespaces kNamespaces = {ns(1, 7), ns(2, 5), ns(3, 3), ns(255, 7), ns(4, 7, TRX_NS_DEVICE_PD)};

TEST_F(SysNotify, AttachesAfterTheOnlyVolumeIsCreated) {
  exchange(0);
  state(5, kNamespaces, {false, true});
  platform.replies.push_back({.driverStatus = 5, .sct = 1, .sc = 0x19});  // the walk goes on
  platform.replies.push_back({.driverStatus = 5, .sct = 1, .sc = 0x18});
  printed([&] { EXPECT_EQ(create(), 0x118u) << "the status of the last"; });
  EXPECT_EQ(traffic(),
            "226/3:0:0:0:0 224/0:0:0:0:0 229/0:0:0:0:0 226/0:0:2:0:1 226/0:0:2:1:1 15:1:0:0:0:0:0:0+4096 "
            "15:3:0:0:0:0:0:0+4096 ");
  TRX_U16 everyController[2048] = {34};
  std::iota(&everyController[1], &everyController[35], TRX_U16{0});
  EXPECT_EQ(platform.commands.back().sent, bytesOf(everyController));
}

TEST_F(SysNotify, LeavesTheHostAloneWhenItCannotHelp) {
  const Namespaces many(170, ns(1, 2));
  const std::tuple<const char *, TRX_U8, Namespaces, std::vector<bool>, size_t> rows[] = {
      {"two volumes", 5, kNamespaces, {true, true}, 0},
      {"no room for any", 5, kNamespaces, {}, 0},
      {"no namespaces", 0, kNamespaces, {true}, 0},
      {"more namespaces than a reply holds", 255, many, {true}, 170},
  };
  for (const auto &[what, maxNs, namespaces, volumes, attached] : rows) {
    exchange(0);
    state(maxNs, namespaces, volumes);
    platform.replies.resize(platform.replies.size() + attached);
    EXPECT_EQ(create(), 0u) << what;
    EXPECT_TRUE(platform.replies.empty()) << what;
  }
}

TEST_F(SysNotify, DetachesBeforeTheOnlyVolumeIsDeleted) {
  state(5, kNamespaces, {true});
  platform.replies.push_back({});
  platform.replies.push_back({.driverStatus = 5, .sc = 6});
  exchange(61);
  printed([&] { EXPECT_EQ(TRX_VD_Delete(0, 0x0102), 61u); });
  EXPECT_EQ(traffic(),
            "224/0:0:0:0:0 229/0:0:0:0:0 226/0:0:2:0:1 15:1:1:0:0:0:0:0+4096 15:2:1:0:0:0:0:0+4096 "
            "226/4:102:0:0:0 ");
}

// The controller's record, or its list of namespaces, is refused.
TEST_F(SysNotify, GoesOnWhenTheHostCannotBeTold) {
  NVME_Adapter_Info info{};
  info.MaxNS = info.MaxVD = 1;
  for (const bool record : {false, true}) {
    const auto refused = [&] {
      if (record) exchange(0, bytesOf(info));
      exchange(6);
    };
    exchange(0);
    refused();
    EXPECT_EQ(create(), 1u) << "the volume exists all the same";
    refused();
    exchange(0);
    EXPECT_EQ(TRX_VD_Delete(0, 1), 0u);
    refused();
    EXPECT_EQ(TRX_VD_Has_OS(0, 0), 1u);
    // clang-format off
    EXPECT_EQ(traffic(), record ? "226/3:0:0:0:0 224/0:0:0:0:0 229/0:0:0:0:0 224/0:0:0:0:0 229/0:0:0:0:0 226/4:1:0:0:0 229/0:0:0:0:0 224/0:0:0:0:0 "
                                : "226/3:0:0:0:0 224/0:0:0:0:0 224/0:0:0:0:0 226/4:1:0:0:0 229/0:0:0:0:0 ");
    // clang-format on
    platform.commands.clear();
  }
}

TEST_F(SysNotify, KnowsTheDiskOfTheSystem) {
  for (const char *name : {"disk0", "disk1", "disk2"}) platform.addAdapter(name);
  platform.replies = {identifyReply(), controllerInformation(), identifyReply(1), identifyReply(1),
                      identifyReply(1)};
  TRX_Init();
  const std::string serial = "A SERIAL NUMBER 1234";
  const auto has = [&](const std::string &link) {
    NVME_Adapter_Info info{};
    link.copy(reinterpret_cast<char *>(info.Link), sizeof info.Link);
    exchange(0);
    exchange(0, bytesOf(info));
    return TRX_VD_Has_OS(0, 0);
  };
  EXPECT_EQ(has(serial), 0u);
  const TRX_U16 makers[] = {TRX_OS_DISK_VENDOR_IDS};
  const std::tuple<const char *, std::deque<Reply>, TRX_U32> disks[] = {
      {"disk9", {}, 1},
      {"disk0", {{.driverStatus = 5, .sc = 6}}, 1},
      {"disk0", {identifyReply(0x8086, serial)}, 1},
      {"disk0", {identifyReply(makers[0], "ANOTHER")}, 0},
      {"disk1", {identifyReply(makers[1], serial)}, 0},
      {"disk2", {}, 1},  // one too many is not even asked
  };
  for (const auto &[name, replies, status] : disks) {
    platform.commands.clear();
    platform.replies = replies;
    printed([&, disk = name, expected = status] { EXPECT_EQ(TRX_AddSystemDisk(disk), expected) << disk; });
    ASSERT_EQ(platform.commands.size(), replies.size());
    if (replies.empty()) continue;
    EXPECT_EQ(platform.commands[0].signature, std::string("mgmt-") + name);
    EXPECT_EQ(traffic(), "6:0:1:0:0:0:0:0+0 ");
  }
  EXPECT_EQ(has(serial), 256u);
  EXPECT_EQ(has("ANOTHER"), 256u);
  EXPECT_EQ(has("A SERIAL NUMBER 1235"), 0u);
  TRX_Final();
  EXPECT_EQ(GetNVMEDiskManagementInstance()->m_os_devs[1], nullptr);
  start();
  EXPECT_EQ(has(serial), 0u) << "forgotten";
}

}  // namespace
