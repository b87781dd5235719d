// SPDX-License-Identifier: GPL-3.0-or-later
// What the model's firmware allows, and what comes of it: volumes, namespaces, activities.
#include "model/storage.h"

#include <numeric>
#include <regex>

#include "model/devices.h"
#include "model/state_file.h"
#include "seam.h"

namespace {

constexpr const char *kSpares =
    R"({"clock": 1720000000, "adapters": [{"name": "vmhba2", "rate": 1, "bgaRate": "high", "maxVd": 4,
  "stripesKiB": [128, 512], "maxNs": 12, "disks": [
  {"sectors": 1000000}, {"sectors": 1000100}, {"sectors": 2000000}, {"sectors": 2000000}, {"sectors": 2000000},
  {"sectors": 2000000}, {"sectorSize": 4096, "sectors": 500000}, {"sectors": 2000000, "failed": true},
  {"sectors": 2000000, "present": false}, {"sectors": 900}]}]})";

class Storage : public Host {
 protected:
  Storage() { make(kSpares); }
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
  void hand(void (*work)(sim::Adapter &, sim::Millis, sim::Disk &), uint32_t disk) {
    sim::AdapterFiles files(directory, "vmhba2");
    sim::Session session(files);
    work(session.change(), session.now(), *sim::findDisk(session.change(), disk));
    session.commit();
  }
  void pass(long seconds) { sim::advanceClock(directory, seconds * 1000); }
};

TEST_F(Storage, CapacityAndRefusalsFollowLevelAndMembers) {
  constexpr uint64_t small = 1000000 / 256 * 256, smallBy512 = 1000000 / 1024 * 1024;
  // clang-format off
  const std::tuple<const char *, uint8_t, uint16_t, std::vector<uint16_t>, unsigned, uint64_t> rows[] = {
      {"RAID0 sums", 0, 256, {0, 1, 2}, 0, 3 * small}, {"whole stripes only", 0, 1024, {0, 1}, 0, 2 * smallBy512}, {"RAID10 halves", 0x10, 256, {1, 2, 3, 0}, 0, 2 * small},
      {"JBOD is one disk", 0x0F, 256, {6}, 0, 500000 / 32 * 32}, {"RAID1 of three", 1, 256, {0, 1, 2}, 61, 0}, {"RAID10 of two", 0x10, 256, {0, 1}, 61, 0},
      {"RAID5", 5, 256, {0, 1, 2}, 60, 0}, {"stripe that the adapter lacks", 0, 512, {0, 1}, 62, 0}, {"sector sizes differ", 0, 256, {0, 6}, 64, 0},
      {"failed disk", 0, 256, {0, 7}, 6, 0}, {"twice the same", 1, 256, {0, 0}, 4, 0},
  };
  // clang-format on
  for (const auto &[what, level, stripe, disks, status, sectors] : rows) {
    NVME_Create_VD query = record(level, stripe, disks);
    query.QueryLDSize = 1;
    Page answer;
    EXPECT_EQ(pair({0xE2, 3}, &query, sizeof query, answer), status) << what;
    if (status != 0) continue;
    EXPECT_EQ(answer.at<NVME_PreCreate_VD>(8).LBA.value, sectors) << what;
  }
}

TEST_F(Storage, LimitsOfTheAdapterHold) {
  EXPECT_EQ(create(0, {4, 5}, 9), 74U) << "more namespaces than a volume may have";
  NVME_Create_VD wanted = record(0x0F, 256, {0}, 8);
  wanted.NSSize[0].value = 1000000;
  EXPECT_EQ(pair({0xE2, 3}, wanted), 65U) << "more than whole stripes give";
  EXPECT_EQ(create(0x0F, {0}, 8), 0U);
  EXPECT_EQ(create(0x0F, {1}, 5), 63U) << "12 namespaces in all";
  for (const uint16_t disk : std::vector<uint16_t>{1, 2, 3}) EXPECT_EQ(create(0x0F, {disk}), 0U);
  EXPECT_EQ(create(0x0F, {4}), 63U) << "four volumes";
}

TEST_F(Storage, ActivitiesPauseAndEndAtTheirTime) {
  ASSERT_EQ(create(1, {0, 1}), 0U);
  NVME_VD_Init init{};
  init.Init_Type = 2;
  EXPECT_EQ(pair({0xE3, 8}, NVME_VD_Sync{}), 52U) << "not initialised yet";
  EXPECT_EQ(pair({0xE3, 7}, NVME_Rebuild{}), 54U) << "nothing to rebuild";
  ASSERT_EQ(pair({0xE3, 6}, init), 0U);
  EXPECT_EQ(pair({0xE3, 6}, init), 69U);
  pass(30);
  const RequestHeader one = header(2, 0, 1);
  ASSERT_EQ(pair({0xE3, 4, TRX_NVME_BGA_OPERATION_PAUSE}, one), 0U);
  EXPECT_EQ(pair({0xE3, 4, TRX_NVME_BGA_OPERATION_PAUSE}, one), 70U);
  pass(1000);
  ASSERT_EQ(pair({0xE3, 4, TRX_NVME_BGA_OPERATION_RESUME}, one), 0U);
  pass(71);
  EXPECT_EQ(pair({0xE3, 4, TRX_NVME_BGA_OPERATION_ABORT}, one), 67U);
  EXPECT_EQ(pair({0xE3, 4, 7}, one), 68U);
  EXPECT_EQ(pair({0xE3, 8}, NVME_VD_Sync{}), 0U);
  EXPECT_NE(journal().find("[TIME]1720001100[MSG]init on virtual disk 0 completed"), std::string::npos)
      << "at the moment when it was complete, not when somebody looked";
}

TEST_F(Storage, FailedDisksTakeWhatTheRedundancyDoesNotCover) {
  // Failed disks; state, members and activity of the volume; the journal without the disks' own lines.
  // clang-format off
  const std::tuple<const char *, std::vector<uint32_t>, const char *, const char *> rows[] = {
      {R"("RAID0", "members": [0, 1])", {1}, "4: 0 ?", "virtual disk 0 is offline"},
      {R"("JBOD", "members": [0])", {0}, "4: ?", "virtual disk 0 is offline"},
      {R"("RAID1", "members": [0, 1], "activity": {"type": "init"})", {0}, "1: ? 1", "init on virtual disk 0 aborted,virtual disk 0 is degraded"},
      {R"("RAID10", "members": [0, 1, 2, 3])", {0, 3}, "1: ? 1 2 ?", "virtual disk 0 is degraded,virtual disk 0 is degraded"},
      {R"("RAID10", "members": [0, 1, 2, 3])", {2, 3}, "4: 0 1 ? ?", "virtual disk 0 is degraded,virtual disk 0 is offline"},
      {R"("RAID1", "members": [0, 1], "activity": {"type": "rebuild", "slot": 1})", {1}, "1: 0 ?", "rebuild on virtual disk 0 aborted"},
      {R"("RAID1", "members": [0, 1], "activity": {"type": "rebuild", "slot": 1})", {0}, "4: ? ?", "rebuild on virtual disk 0 aborted,virtual disk 0 is offline"},
      {R"("RAID10", "members": [0, 1, 2, 3], "activity": {"type": "rebuild", "slot": 1})", {2}, "10: 0 1 ? 3 rebuild", "virtual disk 0 is degraded"},
  };
  // clang-format on
  for (const auto &[layout, failed, seen, told] : rows) {
    make(
        R"({"clock": 1, "adapters": [{"disks": [{"sizeGiB": 1}, {"sizeGiB": 1}, {"sizeGiB": 1}, {"sizeGiB": 1}],
             "volumes": [{"raid": )" +
        std::string(layout) + "}]}]}");
    for (const uint32_t disk : failed) hand(sim::failDisk, disk);
    const NVME_VD_Info now = volume(0);
    std::string text = std::to_string(now.Status) + ":", lines;
    for (unsigned i = 0; i < now.MemberCount; ++i)
      text += now.PDIDs[i] == TRX_PD_ID_MISSING ? " ?" : " " + std::to_string(now.PDIDs[i]);
    EXPECT_EQ(text + (now.BGAIndex ? " rebuild" : ""), seen) << layout;
    const std::regex line("\\[MSG\\](?!Physical)(.*)");
    const std::string all = journal();
    for (std::sregex_iterator at(all.begin(), all.end(), line), end; at != end; ++at)
      lines += (lines.empty() ? "" : ",") + at->str(1);
    EXPECT_EQ(lines, told) << layout;
  }
}

TEST_F(Storage, MigrationEndsInTheNewLayout) {
  ASSERT_EQ(create(1, {2, 3}), 0U);
  NVME_Migrate migrate{};
  migrate.RaidMode = TRX_RAID_MODE_10;
  migrate.MemberCount = 4;
  std::iota(migrate.PDIDs, migrate.PDIDs + 4, TRX_U8{2});
  uint64_t before = volume(0).LBA.value;
  ASSERT_EQ(pair({0xE3, 9}, migrate), 0U);
  hand(sim::failDisk, 5);
  pass(101);
  EXPECT_EQ(volume(0).RaidMode, TRX_RAID_MODE_1) << "a disk of the new layout broke";
  hand(sim::mendDisk, 5);
  ASSERT_EQ(pair({0xE3, 9}, migrate), 0U);
  pass(101);
  EXPECT_EQ(volume(0).RaidMode, TRX_RAID_MODE_10);
  EXPECT_EQ(volume(0).LBA.value, 2 * before);
}

}  // namespace
