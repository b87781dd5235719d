// SPDX-License-Identifier: GPL-3.0-or-later
// What the host is told around a change of virtual disks, and the guard of the system's disk.
#include "api_test.h"

namespace {

class SysNotify : public ApiTest {
 protected:
  // Script what the hooks read: the controller, its namespaces, and which of its volumes exist.
  void state(TRX_U8 maxNs, const std::vector<NVME_NS_Info> &namespaces, const std::vector<bool> &volumes) {
    NVME_Adapter_Info info{};
    info.MaxNS = maxNs;
    info.MaxVD = static_cast<TRX_U8>(volumes.size());
    Bytes list;
    for (const NVME_NS_Info &ns : namespaces) {
      const Bytes bytes = bytesOf(ns);
      list.insert(list.end(), bytes.begin(), bytes.end());
    }
    exchange(0, bytesOf(info));
    exchange(0, list);
    for (const bool exists : volumes) exchange(exists ? 0 : 7);
  }

  // Namespace Attachment commands as "select NSID", vendor requests as "group/sub-code", with the
  // type, the id and the number that the header of a volume's list asks for.
  std::string traffic() const {
    std::string text;
    for (const Command &command : platform.commands) {
      if (command.io.cmd.opcode == 0x15) {
        text += std::to_string(command.io.cmd.cdw10) + " " + std::to_string(command.io.cmd.nsid) + ", ";
      } else if (command.io.cmd.opcode == 0xCB) {
        const Bytes &sent = command.sent;
        text += std::to_string(sent[8]) + "/" + std::to_string(sent[10]);
        for (const size_t at : {18u, 20u, 22u})
          if (sent[8] == TRX_GROUP_VD && sent[10] == 0) text += " " + std::to_string(sent[at]);
        text += ", ";
      }
    }
    return text;
  }
};

NVME_NS_Info ns(TRX_U8 id, TRX_U8 status, TRX_U8 deviceType = TRX_NS_DEVICE_VD) {
  NVME_NS_Info info{};
  info.NSID = id;
  info.device_type = deviceType;
  info.Status = status;
  return info;
}

const std::vector<NVME_NS_Info> kNamespaces = {ns(1, 7), ns(2, 5), ns(3, 3), ns(255, 7),
                                               ns(4, 7, TRX_NS_DEVICE_PD)};

TEST_F(SysNotify, AttachesAfterTheOnlyVolumeIsCreated) {
  start();
  exchange(0);
  state(5, kNamespaces, {false, true});
  platform.replies.push_back({.driverStatus = 5, .sct = 1, .sc = 0x19});  // the walk goes on
  platform.replies.push_back({.driverStatus = 5, .sct = 1, .sc = 0x18});
  NVME_Create_VD request{};
  printed([&] { EXPECT_EQ(TRX_VD_Create(0, &request), 0x118u) << "the status of the last"; });
  EXPECT_EQ(traffic(), "226/3, 224/0, 229/0, 226/0 2 0 1, 226/0 2 1 1, 0 1, 0 3, ");
  const Bytes &list = platform.commands.back().sent;
  EXPECT_EQ(head(list, 8), (Bytes{34, 0, 0, 0, 1, 0, 2, 0}));
  EXPECT_EQ(list[2 * 34], 33);
  EXPECT_EQ(std::count(list.begin() + 70, list.end(), 0), 4096 - 70);
}

TEST_F(SysNotify, LeavesTheHostAloneWhenItCannotHelp) {
  start();
  const std::tuple<const char *, TRX_U8, std::vector<bool>> rows[] = {
      {"two volumes", 5, {true, true}}, {"no room for any", 5, {}}, {"no namespaces", 0, {true}}};
  for (const auto &[what, maxNs, volumes] : rows) {
    exchange(0);
    state(maxNs, kNamespaces, volumes);
    NVME_Create_VD request{};
    EXPECT_EQ(TRX_VD_Create(0, &request), 0u) << what;
  }
}

TEST_F(SysNotify, ReadsNoMoreNamespacesThanAReplyHolds) {
  start();
  exchange(0);
  state(255, std::vector<NVME_NS_Info>(170, ns(1, 2)), {true});
  for (int i = 0; i < 170; ++i) platform.replies.push_back({});
  NVME_Create_VD request{};
  EXPECT_EQ(TRX_VD_Create(0, &request), 0u);
}

TEST_F(SysNotify, DetachesBeforeTheOnlyVolumeIsDeleted) {
  start();
  state(5, kNamespaces, {true});
  platform.replies.push_back({});
  platform.replies.push_back({.driverStatus = 5, .sc = 6});
  exchange(61);
  printed([&] { EXPECT_EQ(TRX_VD_Delete(0, 0x0102), 61u); });
  EXPECT_EQ(traffic(), "224/0, 229/0, 226/0 2 0 1, 1 1, 1 2, 226/4, ");
  const Bytes &sent = platform.commands[platform.commands.size() - 2].sent;
  EXPECT_EQ(Bytes(sent.begin() + 16, sent.begin() + 24), (Bytes{2, 1, 0, 0, 0, 0, 0, 0}));
}

// The controller's record, or its list of namespaces, is refused.
TEST_F(SysNotify, GoesOnWhenTheHostCannotBeTold) {
  start();
  NVME_Adapter_Info info{};
  info.MaxNS = info.MaxVD = 1;
  for (const bool record : {false, true}) {
    const auto refused = [&] {
      if (record) exchange(0, bytesOf(info));
      exchange(6);
    };
    exchange(0);
    refused();
    NVME_Create_VD request{};
    EXPECT_EQ(TRX_VD_Create(0, &request), 1u) << "the volume exists all the same";
    refused();
    exchange(0);
    EXPECT_EQ(TRX_VD_Delete(0, 1), 0u);
    refused();
    EXPECT_EQ(TRX_VD_Has_OS(0, 0), 1u);
    EXPECT_EQ(traffic(), record ? "226/3, 224/0, 229/0, 224/0, 229/0, 226/4, 229/0, 224/0, "
                                : "226/3, 224/0, 224/0, 226/4, 229/0, ");
    platform.commands.clear();
  }
}

TEST_F(SysNotify, KnowsTheDiskOfTheSystem) {
  for (const char *name : {"disk0", "disk1", "disk2"}) {
    platform.addAdapter(name);
    platform.replies.push_back(identifyReply(0x1234));
  }
  start();
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
  const auto identify = [](TRX_U16 vendor, const std::string &text) {
    Reply reply = identifyReply(vendor);
    reply.data.insert(reply.data.end(), 2, 0);
    reply.data.insert(reply.data.end(), text.begin(), text.end());
    return reply;
  };
  const std::tuple<const char *, std::vector<Reply>, TRX_U32> disks[] = {
      {"disk9", {}, 1},
      {"disk0", {{.driverStatus = 5, .sc = 6}}, 1},
      {"disk0", {identify(0x8086, serial)}, 1},
      {"disk0", {identify(makers[0], "ANOTHER")}, 0},
      {"disk1", {identify(makers[1], serial)}, 0},
      {"disk2", {}, 1},  // one too many is not even asked
  };
  for (const auto &[name, replies, status] : disks) {
    platform.commands.clear();
    platform.replies.assign(replies.begin(), replies.end());
    printed([&, disk = name, expected = status] { EXPECT_EQ(TRX_AddSystemDisk(disk), expected) << disk; });
    ASSERT_EQ(platform.commands.size(), replies.size());
    if (replies.empty()) continue;
    EXPECT_EQ(platform.commands[0].signature, std::string("mgmt-") + name);
    EXPECT_EQ(platform.commands[0].io.cmd.opcode, 6);
    EXPECT_EQ(platform.commands[0].io.cmd.cdw10, 1u);
  }
  EXPECT_EQ(has(serial), 256u);
  EXPECT_EQ(has("ANOTHER"), 256u);
  EXPECT_EQ(has("A SERIAL NUMBER 1235"), 0u);
  TRX_Final();
  platform.adapters.clear();
  start();
  EXPECT_EQ(has(serial), 0u) << "forgotten";
}

}  // namespace
