// SPDX-License-Identifier: GPL-3.0-or-later
// Topology files: what is accepted, and with which words the rest is refused. The SMBIOS file.
#include <fstream>

#include "host/smbios.h"
#include "seam.h"

namespace simtest {
namespace {

TEST(Topology, RefusalsTellThePlaceAndTheReason) {
  std::string manyDisks;
  for (int i = 0; i < 256; ++i) manyDisks += std::string(i ? "," : "") + R"({"sizeGiB": 1})";
  const std::pair<std::string, const char *> rows[] = {
      {"{", "topology: not JSON"},
      {"[]", "topology: must be an object"},
      {"{}", "adapters: must have 1 to 64 entries, has 0"},
      {R"({"adapters": [{}], "adaptors": 1})", "adaptors: is not known here"},
      {R"({"adapters": [{"name": "vmhba 2"}]})", "adapters[0].name: must be lower-case"},
      {R"({"adapters": [{"name": "a"}, {"name": "a"}]})", "adapters[1].name: is another adapter's too"},
      {R"({"adapters": [{"mode": "mirror"}]})", R"(adapters[0].mode: must be one of "raid", "jbof")"},
      {R"({"adapters": [{"bus": 256}]})", "adapters[0].bus: must be a whole number from 0 to 255"},
      {R"({"adapters": [{"rate": -1}]})", "adapters[0].rate: must be a number from 0"},
      {R"({"adapters": [{"firmware": "1.2"}]})", "adapters[0].firmware: must be four numbers"},
      {R"({"adapters": [{"raidModes": ["RAID5"]}]})", "adapters[0].raidModes[0]: must be one of"},
      {R"({"adapters": [{"disks": [)" + manyDisks + "]}]}",
       "adapters[0].disks: must have 0 to 255 entries, has 256"},
      {R"({"adapters": [{}, {"disks": [{"sizeGiB": 1}, {"sizeGiB": 1, "sectorSize": 520}]}]})",
       "adapters[1].disks[1].sectorSize: must be 512 or 4096"},
      {R"({"adapters": [{"disks": [{}]}]})", "adapters[0].disks[0].sizeGiB: give a size"},
      {R"({"adapters": [{"disks": [{"sizeGiB": 1}, {"id": 0, "sizeGiB": 1}]}]})",
       "disks[1].id: is another disk's"},
      {R"({"adapters": [{"disks": [{"sizeGiB": 1, "smart": {"x": 1}}]}]})",
       "disks[0].smart.x: is not known here"},
      {R"({"adapters": [{"volumes": [{"raid": "RAID1", "members": [0]}]}]})",
       "volumes[0].members[0]: must be the id"},
      {R"({"adapters": [{"volumes": [{"raid": "RAID2", "members": [null]}]}]})",
       "volumes[0].raid: must be one of"},
      {R"({"adapters": [{"volumes": [{"raid": "RAID1", "members": [null]}]}]})",
       "volumes[0].sectors: give the size"},
      {R"({"adapters": [{"disks": [{"sizeGiB": 1}], "volumes": [{"raid": "JBOD", "members": [0]},
           {"raid": "JBOD", "members": [0]}]}]})",
       "volumes[1].members[0]: this disk is in another volume"},
      {R"({"adapters": [{"namespaces": [{"volume": 0}]}]})", "namespaces[0].volume: there is no such object"},
      {R"({"adapters": [{"disks": [{"sizeGiB": 1}], "namespaces": [{"disk": 0, "sizeGiB": 2}]}]})",
       "namespaces[0].sectors: larger than what is free"},
      {R"({"adapters": [{"disks": [{"sizeGiB": 1}], "namespaces": [{"disk": 0, "controllers": [34]}]}]})",
       "namespaces[0].controllers[0]: must be a controller id"},
  };
  for (const auto &[text, told] : rows) {
    try {
      sim::parseTopology(text);
      ADD_FAILURE() << "accepted: " << text.substr(0, 200);
    } catch (const sim::HostError &error) {
      EXPECT_NE(std::string(error.what()).find(told), std::string::npos) << error.what();
    }
  }
}

TEST(Topology, ExamplesAreGoodAndOneIsBuiltIn) {
  for (const auto &entry : std::filesystem::directory_iterator(TRX_SIM_TOPOLOGIES))
    EXPECT_NO_THROW(sim::parseTopology(topologyFile(entry.path().filename()))) << entry.path();
  EXPECT_EQ(sim::defaultTopology(), topologyFile("default.json"));
  EXPECT_EQ(sim::parseTopology(topologyFile("volumes64.json")).adapters[0].volumes.size(), 64U);
  EXPECT_EQ(sim::parseTopology(topologyFile("adapters33.json")).adapters.size(), 33U);
}

/// Slots by bus, walked as a reader of the file does: the table starts at offset 0, where the entry
/// point stands, and each structure is followed by strings that end with two zero bytes.
std::vector<std::pair<unsigned, unsigned>> slotsIn(const std::vector<char> &image, size_t length,
                                                   unsigned structures) {
  std::vector<std::pair<unsigned, unsigned>> slots;
  auto at = [&image](size_t i) { return static_cast<unsigned char>(image[i]); };
  size_t place = 0;
  for (unsigned n = 0; (structures == 0 || n < structures) && place + 4 <= length; ++n) {
    unsigned type = at(place), size = at(place + 1);
    EXPECT_GE(size, 4U) << "a broken table";
    if (size < 4 || (type == 127 && structures == 0)) break;
    if (type == 9 && at(place + 7) == 4) slots.emplace_back(at(place + 15), at(place + 9));
    place += size;
    while (place + 1 < length && (at(place) != 0 || at(place + 1) != 0)) ++place;
    place += 2;
  }
  return slots;
}

unsigned sum(const std::vector<char> &image, size_t from, size_t length) {
  unsigned sum = 0;
  for (size_t i = from; i < from + length; ++i) sum += static_cast<unsigned char>(image[i]);
  return sum & 0xFF;
}

TEST(Smbios, BothEntryPointsLeadToTheSlots) {
  const std::vector<std::pair<unsigned, unsigned>> expected = {{3, 5}, {66, 7}};
  for (int version : {3, 2}) {
    auto plan =
        sim::parseTopology(R"({"smbios": )" + std::to_string(version) +
                           R"(, "adapters": [{"bus": 3, "slot": 5}, {"bus": 4}, {"bus": 66, "slot": 7}]})");
    std::vector<char> image = sim::smbiosImage(plan);
    uint32_t length = 0, count = 0;
    if (version == 3) {
      EXPECT_EQ(std::memcmp(image.data(), "_SM3_", 5), 0);
      EXPECT_EQ(sum(image, 0, 24), 0U);
      std::memcpy(&length, image.data() + 12, 4);
    } else {
      EXPECT_EQ(std::memcmp(image.data(), "_SM_", 4), 0);
      EXPECT_EQ(sum(image, 0, 31), 0U);
      EXPECT_EQ(std::memcmp(image.data() + 16, "_DMI_", 5), 0);
      EXPECT_EQ(sum(image, 16, 15), 0U);
      std::memcpy(&length, image.data() + 22, 2);
      std::memcpy(&count, image.data() + 28, 2);
      EXPECT_EQ(count, 4U);
    }
    EXPECT_EQ(length, image.size());
    EXPECT_EQ(slotsIn(image, length, count), expected) << version;
  }
}

}  // namespace
}  // namespace simtest
