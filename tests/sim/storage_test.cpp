// SPDX-License-Identifier: GPL-3.0-or-later
// What the model's firmware allows, and what comes of it: volumes, namespaces, activities.
#include "model/storage.h"

#include "model/state_file.h"
#include "seam.h"

namespace simtest {
namespace {

using sim::Fw;

constexpr const char *kSpares =
    R"({"clock": 1720000000, "adapters": [{"name": "vmhba2", "rate": 1, "bgaRate": "high", "maxVd": 4,
  "stripesKiB": [128, 512], "maxNs": 12, "disks": [
  {"sectors": 1000000}, {"sectors": 1000100}, {"sectors": 2000000}, {"sectors": 2000000}, {"sectors": 2000000},
  {"sectors": 2000000}, {"sectorSize": 4096, "sectors": 500000}, {"sectors": 2000000, "failed": true},
  {"sectors": 2000000, "present": false}, {"sectors": 900}]}]})";

class Storage : public Host {
 protected:
  void SetUp() override {
    Host::SetUp();
    make(kSpares);
  }
  static NVME_Create_VD record(uint8_t level, uint16_t stripe, std::vector<uint16_t> disks,
                               uint16_t namespaces = 0) {
    NVME_Create_VD record{};
    record.RAIDMode = level;
    record.StripeBlockSize = stripe;
    record.MemberCount = static_cast<uint8_t>(disks.size());
    std::copy(disks.begin(), disks.end(), record.PDIDs);
    record.NSCount = namespaces;
    return record;
  }
  unsigned create(uint8_t level, std::vector<uint16_t> disks, uint16_t namespaces = 0) {
    return pair({0xE2, 3}, record(level, 256, std::move(disks), namespaces));
  }
  void pass(long seconds) { sim::advanceClock(directory, seconds * 1000); }
  NVME_BGA_Status activity(uint32_t id) {
    Page page;
    EXPECT_TRUE(function(0x2E3, id, page).ok());
    return page.at<NVME_BGA_Status>(8);
  }
};

TEST_F(Storage, CapacityAndRefusalsFollowLevelAndMembers) {
  struct Row {
    const char *what;
    uint8_t level;
    uint16_t stripe;
    std::vector<uint16_t> disks;
    unsigned status;
    uint64_t sectors;
  };
  constexpr uint64_t small = 1000000 / 256 * 256, smallBy512 = 1000000 / 1024 * 1024;
  const Row rows[] = {
      {"RAID0 sums", 0, 256, {0, 1, 2}, 0, 3 * small},
      {"whole stripes only", 0, 1024, {0, 1}, 0, 2 * smallBy512},
      {"RAID1 halves", 1, 256, {0, 1}, 0, small},
      {"RAID10 halves", 0x10, 256, {1, 2, 3, 0}, 0, 2 * small},
      {"JBOD is one disk", 0x0F, 256, {6}, 0, 500000 / 32 * 32},
      {"RAID0 of one", 0, 256, {0}, 61, 0},
      {"RAID1 of three", 1, 256, {0, 1, 2}, 61, 0},
      {"RAID10 of two", 0x10, 256, {0, 1}, 61, 0},
      {"RAID10 of an odd count", 0x10, 256, {0, 1, 2, 3, 4}, 61, 0},
      {"JBOD of two", 0x0F, 256, {0, 1}, 61, 0},
      {"no members", 0, 256, {}, 61, 0},
      {"RAID5", 5, 256, {0, 1, 2}, 60, 0},
      {"unknown level", 0x33, 256, {0, 1}, 60, 0},
      {"stripe that the adapter lacks", 0, 512, {0, 1}, 62, 0},
      {"odd stripe", 0, 100, {0, 1}, 62, 0},
      {"sector sizes differ", 0, 256, {0, 6}, 64, 0},
      {"failed disk", 0, 256, {0, 7}, 6, 0},
      {"absent disk", 0, 256, {0, 8}, 6, 0},
      {"no such disk", 0, 256, {0, 77}, 6, 0},
      {"twice the same", 1, 256, {0, 0}, 4, 0},
  };
  for (const Row &row : rows) {
    NVME_Create_VD query = record(row.level, row.stripe, row.disks);
    query.QueryLDSize = 1;
    Page answer;
    EXPECT_EQ(pair({0xE2, 3}, &query, sizeof query, answer), row.status) << row.what;
    if (row.status == 0) {
      EXPECT_EQ(answer.at<NVME_PreCreate_VD>(8).LBA.value, row.sectors) << row.what;
    }
  }
}

TEST_F(Storage, CreatesCarvesDeletesAndFreesItsDisks) {
  ASSERT_EQ(create(0, {2, 3}, 3), 0U);
  NVME_VD_Info info = volume(0);
  EXPECT_EQ(std::string(reinterpret_cast<char *>(info.Name)), "VD0");
  Page page;
  ASSERT_TRUE(function(0xE5, 0, page).ok());
  uint64_t carved = 0;
  for (size_t i = 0; i < 3; ++i) {
    auto ns = page.at<NVME_NS_Info>(8 + i * sizeof(NVME_NS_Info));
    EXPECT_EQ(ns.NSID, i + 1);
    EXPECT_EQ(ns.Status, TRX_NS_STATUS_VALID | TRX_NS_STATUS_CREATED);
    EXPECT_EQ(ns.LBA.value, page.at<NVME_NS_Info>(8).LBA.value) << "evenly";
    carved += ns.LBA.value;
  }
  EXPECT_LE(carved, info.LBA.value);
  EXPECT_GT(carved, info.LBA.value - 3 * 256);
  EXPECT_EQ(create(1, {3, 4}), 59U) << "a disk in use";
  EXPECT_EQ(create(0, {4, 5}, 9), 74U) << "more namespaces than a volume may have";
  NVME_VD_Delete gone{};
  EXPECT_EQ(pair({0xE2, 4}, gone), 0U);
  EXPECT_EQ(pair({0xE2, 4}, gone), 7U);
  ASSERT_EQ(create(1, {3, 4}), 0U);
  ASSERT_TRUE(function(0xE5, 0, page).ok());
  EXPECT_EQ(page.at<NVME_NS_Info>(8).NSID, 1) << "the id is free again";
  usr_io identify = withPage(block(0x06), page);
  identify.cmd.nsid = 1;
  ASSERT_TRUE(send(identify).ok());
  EXPECT_EQ(page.bytes[127], 4) << "but an EUI-64 is never used twice";
}

TEST_F(Storage, LimitsOfTheAdapterHold) {
  EXPECT_EQ(create(0x0F, {0}, 8), 0U);
  EXPECT_EQ(create(0x0F, {1}, 5), 63U) << "12 namespaces in all";
  EXPECT_EQ(create(0x0F, {1}), 0U);
  EXPECT_EQ(create(0x0F, {2}), 0U);
  EXPECT_EQ(create(0x0F, {3}), 0U);
  EXPECT_EQ(create(0x0F, {4}), 63U) << "four volumes";
}

TEST_F(Storage, AskedNamespaceSizesMustFit) {
  NVME_Create_VD wanted = record(0x0F, 256, {2}, 2);
  wanted.NSSize[0].value = 1500000;
  wanted.NSSize[1].value = 500000;
  EXPECT_EQ(pair({0xE2, 3}, wanted), 65U) << "more than whole stripes give";
  wanted.NSSize[1].value = 400000;
  EXPECT_EQ(pair({0xE2, 3}, wanted), 0U);
}

TEST_F(Storage, ActivitiesRunPauseEndAndTell) {
  ASSERT_EQ(create(1, {0, 1}), 0U);
  NVME_VD_Init init{};
  init.Init_Type = 2;
  NVME_VD_Sync sync{};
  EXPECT_EQ(pair({0xE3, 8}, sync), 52U) << "not initialised yet";
  ASSERT_EQ(pair({0xE3, 6}, init), 0U);
  EXPECT_EQ(pair({0xE3, 6}, init), 69U);
  pass(30);
  EXPECT_EQ(activity(0).Percentage, 30);
  RequestHeader one{};
  one.requestType = 2;
  one.numRequested = 1;
  ASSERT_EQ(pair({0xE3, 4, TRX_NVME_BGA_OPERATION_PAUSE}, one), 0U);
  EXPECT_EQ(pair({0xE3, 4, TRX_NVME_BGA_OPERATION_PAUSE}, one), 70U);
  pass(1000);
  EXPECT_EQ(activity(0).Percentage, 30);
  EXPECT_EQ(activity(0).BgaStatus, TRX_NVME_BGA_STATUS_PAUSE);
  ASSERT_EQ(pair({0xE3, 4, TRX_NVME_BGA_OPERATION_RESUME}, one), 0U);
  pass(71);
  EXPECT_EQ(activity(0).BgaType, TRX_NVME_BGA_TYPE_NONE);
  EXPECT_EQ(pair({0xE3, 4, TRX_NVME_BGA_OPERATION_ABORT}, one), 67U);
  EXPECT_EQ(pair({0xE3, 4, 7}, one), 68U);
  EXPECT_EQ(pair({0xE3, 8}, sync), 0U);
  std::string text = journal();
  size_t at = 0;
  for (const char *line : {"created", "init on virtual disk 0 started", "is 25% done", "paused", "resumed",
                           "is 50% done", "is 75% done", "init on virtual disk 0 completed"}) {
    at = text.find(line, at);
    EXPECT_NE(at, std::string::npos) << line;
  }
  EXPECT_NE(text.find("[TIME]1720001100[MSG]init on virtual disk 0 completed"), std::string::npos)
      << "at the moment when it was complete, not when somebody looked";
}

TEST_F(Storage, RebuildFillsADegradedMirror) {
  ASSERT_EQ(create(1, {2, 3}), 0U);
  auto rebuild = [](uint16_t disk) {
    NVME_Rebuild record{};
    record.PDID = disk;
    return pair({0xE3, 7}, record);
  };
  EXPECT_EQ(rebuild(4), 54U) << "nothing to rebuild";
  {
    sim::AdapterFiles files(directory, "vmhba2");
    sim::Session session(files);
    sim::Adapter &adapter = session.change();
    sim::Disk *disk = sim::findDisk(adapter, 3);
    disk->present = 0;
    sim::diskLost(adapter, session.now(), *disk);
    session.commit();
  }
  EXPECT_EQ(volume(0).Status, TRX_VD_STATUS_DEGRADE);
  EXPECT_EQ(rebuild(3), 6U);
  EXPECT_EQ(rebuild(2), 59U);
  EXPECT_EQ(rebuild(6), 64U);
  EXPECT_EQ(rebuild(9), 72U);
  ASSERT_EQ(rebuild(4), 0U);
  EXPECT_EQ(volume(0).Status, TRX_VD_STATUS_REBUILDING);
  pass(101);
  EXPECT_EQ(volume(0).Status, TRX_VD_STATUS_FUNCTIONAL);
  EXPECT_EQ(volume(0).PDIDs[1], 4);
}

TEST_F(Storage, AutoRebuildTakesTheFirstSpareThatIsLargeEnough) {
  makeFrom("frozen.json");
  NVME_Adapter_Config config{};
  config.AutoRebuildOn = 1;
  config.BGARate = TRX_BGA_RATE_MEDIUM;
  ASSERT_EQ(pair({0xE0, 2}, config), 0U);
  EXPECT_EQ(volume(1).Status, TRX_VD_STATUS_REBUILDING);
  EXPECT_EQ(volume(1).PDIDs[1], 7);
}

TEST_F(Storage, ImportsAForeignVolumeOnce) {
  makeFrom("frozen.json");
  RequestHeader one{};
  one.requestType = 2;
  one.numRequested = 1;
  one.start = 3;
  EXPECT_EQ(pair({0xE2, 6}, one), 0U);
  EXPECT_EQ(pair({0xE2, 6}, one), 57U);
  one.start = 9;
  EXPECT_EQ(pair({0xE2, 6}, one), 7U);
  EXPECT_EQ(volume(3).Status, TRX_VD_STATUS_FUNCTIONAL);
  EXPECT_NE(journal().find("[MSG]Import virtual disk 3 completed\n"), std::string::npos);
}

TEST_F(Storage, MigrationEndsInTheNewLayout) {
  ASSERT_EQ(create(1, {2, 3}), 0U);
  NVME_Migrate migrate{};
  migrate.RaidMode = TRX_RAID_MODE_10;
  migrate.MemberCount = 4;
  for (TRX_U8 i = 0; i < 4; ++i) migrate.PDIDs[i] = static_cast<TRX_U8>(2 + i);
  uint64_t before = volume(0).LBA.value;
  ASSERT_EQ(pair({0xE3, 9}, migrate), 0U);
  pass(101);
  EXPECT_EQ(volume(0).RaidMode, TRX_RAID_MODE_10);
  EXPECT_EQ(volume(0).LBA.value, 2 * before);
}

}  // namespace
}  // namespace simtest
