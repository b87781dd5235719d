// SPDX-License-Identifier: GPL-3.0-or-later
// Topology files: what is accepted, and with which words the rest is refused. The SMBIOS file.
#include <numeric>

#include "host/smbios.h"
#include "seam.h"

namespace {

TEST(Topology, RefusalsTellThePlaceAndTheReason) {
  std::string manyDisks;
  for (int i = 0; i < 256; ++i) manyDisks += std::string(i ? "," : "") + R"({"sizeGiB": 1})";
  // clang-format off
  const std::pair<std::string, const char *> rows[] = {
      {"{", "topology: not JSON"},
      {"[]", "topology: must be an object"},
      {"{\n\"a\u0007\": 1e999}", "topology: not JSON: "},
      {R"({"adapters": [{}], "a\nb\u001b": 1})", "a?b?: is not known here"},
      {R"({"adapters": [{"disks": []}, {"disks": [{"id": 1}, {"sizeGiB": 1, "sectors": 2, "sizeGiB": 3}]}]})", "adapters[1].disks[1].sizeGiB: stands twice"},
      {R"({"adapters": [{}], "adaptors": 1})", "adaptors: is not known here"},
      {R"({"adapters": [{"name": "a"}, {"name": "a"}]})", "adapters[1].name: is another adapter's too"},
      {R"({"adapters": [{"firmware": "1.2"}]})", "adapters[0].firmware: must be four numbers"},
      {R"({"adapters": [{"disks": [)" + manyDisks + "]}]}", "adapters[0].disks: must have 0 to 255 entries, has 256"},
      {R"({"adapters": [{}, {"disks": [{"sizeGiB": 1}, {"sizeGiB": 1, "sectorSize": 520}]}]})", "adapters[1].disks[1].sectorSize: must be 512 or 4096"},
      {R"({"adapters": [{"volumes": [{"raid": "RAID1", "members": [0]}]}]})", "volumes[0].members[0]: must be the id"},
      {R"({"adapters": [{"volumes": [{"raid": "RAID1", "members": [null]}]}]})", "volumes[0].sectors: give the size"},
      {R"({"adapters": [{"disks": [{"sizeGiB": 1}], "volumes": [{"raid": "JBOD", "members": [0]}, {"raid": "JBOD", "members": [0]}]}]})", "volumes[1].members[0]: this disk is in another volume"},
      {R"({"adapters": [{"disks": [{"sizeGiB": 1}], "namespaces": [{"disk": 0, "sizeGiB": 2}]}]})", "namespaces[0].sectors: larger than what is free"},
      {R"({"adapters": [{"disks": [{"sizeGiB": 1}], "namespaces": [{"disk": 0, "controllers": [34]}]}]})", "namespaces[0].controllers[0]: must be a controller id"},
  };
  // clang-format on
  for (const auto &[text, told] : rows) {
    const std::string why = refusal([&, &json = text] { sim::parseTopology(json); });
    EXPECT_NE(why.find(told), std::string::npos) << text.substr(0, 200) << ": " << why;
    EXPECT_EQ(why.find_first_of("\n\a\x1b"), std::string::npos) << "one line, and safe to show: " << why;
  }
}

TEST(Topology, ExamplesAreGoodAndOneIsBuiltIn) {
  for (const auto &entry : std::filesystem::directory_iterator(TRX_SIM_TOPOLOGIES))
    EXPECT_NO_THROW(sim::parseTopology(topologyFile(entry.path().filename()))) << entry.path();
  EXPECT_EQ(sim::defaultTopology(), topologyFile("default.json"));
}

// The other entry point is read by the program itself.
TEST(Smbios, OldEntryPointDescribesTheTable) {
  const char *text = R"({"smbios": 2, "adapters": [{"bus": 3, "slot": 5}, {"bus": 66, "slot": 7}]})";
  std::vector<char> image = sim::smbiosImage(sim::parseTopology(text));
  EXPECT_EQ(std::memcmp(image.data(), "_SM_", 4), 0);
  EXPECT_EQ(std::memcmp(image.data() + 16, "_DMI_", 5), 0);
  EXPECT_EQ(std::accumulate(image.begin(), image.begin() + 31, 0) & 0xFF, 0);
  EXPECT_EQ(std::accumulate(image.begin() + 16, image.begin() + 31, 0) & 0xFF, 0);
  const auto length = static_cast<uint16_t>(image.size());
  EXPECT_EQ(std::memcmp(image.data() + 22, &length, sizeof length), 0);
  EXPECT_EQ(image[28], 4) << "structures";
}

}  // namespace
