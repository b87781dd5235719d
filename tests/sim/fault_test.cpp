// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/faults.h"

#include <chrono>

#include "seam.h"

namespace simtest {
namespace {

class Faults : public FrozenHost {
 protected:
  void arm(std::vector<std::string> words) { sim::addFault(directory, sim::parseFault(words)); }
};

TEST_F(Faults, EachKindBreaksItsOneThing) {
  struct Row {
    std::vector<std::string> words;
    int platform;
    unsigned folded;
    std::vector<uint8_t> head;  ///< first bytes of the page, which was 0xEE before
  };
  const Row rows[] = {
      {{"platform=19"}, 19, 0, {0xEE, 0xEE}},
      {{"nvme=0x106"}, 0, 0x106, {0xEE, 0xEE}},
      {{"nvme=0"}, 0, 0, {0xEE, 0xEE}},
      {{"signature"}, 0, 0, {'B', 'A', 'D', '!'}},
      {{"status=9"}, 0, 0, {'T', 'R', 'X', 0, 9}},
      {{"short=3"}, 0, 0, {'T', 'R', 'X', 0xEE, 0xEE}},
      {{"ones"}, 0, 0, {0xFF, 0xFF}},
  };
  for (const Row &row : rows) {
    arm(row.words);
    Page page;
    std::memset(page.bytes, 0xEE, sizeof page.bytes);
    Result result = function(0xE0, 0, page);
    EXPECT_EQ(result.platform, row.platform) << row.words[0];
    EXPECT_EQ(result.folded(), row.folded) << row.words[0];
    EXPECT_EQ(result.ok(), row.head[0] != 0xEE) << row.words[0];
    EXPECT_EQ(std::memcmp(page.bytes, row.head.data(), row.head.size()), 0) << row.words[0];
    EXPECT_TRUE(function(0xE0, 0, page).ok()) << "once only: " << row.words[0];
  }
}

TEST_F(Faults, StrikeTheNthCommandThatMatchesAcrossProcesses) {
  arm({"adapter=vmhba2", "op=e2", "group=e2", "sub=0", "nth=3", "count=2", "nvme=0x6"});
  Page page;
  auto fails = [&page](uint32_t cdw12, const char *adapter = "vmhba2") {
    return !function(cdw12, 0, page, adapter).ok();
  };
  EXPECT_FALSE(fails(0xE2));
  EXPECT_FALSE(fails(0xE1));
  EXPECT_FALSE(fails(0xE2, "vmhba3"));
  EXPECT_EQ(inChild([&] { return !fails(0xE2); }), 0);
  EXPECT_TRUE(fails(0xE2));
  EXPECT_TRUE(fails(0xE2));
  EXPECT_FALSE(fails(0xE2));
  EXPECT_TRUE(sim::listFaults(directory).empty());
}

TEST_F(Faults, PairExchangesMatchByTheirWordsAndStayInOrder) {
  Page answer;
  for (const char *op : {"op=cb", "op=ce"}) {
    arm({op, "group=e2", "sub=0", "nvme=0x6"});
    EXPECT_EQ(pair({0xE0, 0}, nullptr, 0, answer), 0U);
    RequestHeader header{};
    EXPECT_EQ(pair({0xE2, 0}, header), 0x1000U) << op;
    EXPECT_EQ(pair({0xE2, 0}, header), 0U) << op;
  }
}

TEST_F(Faults, ADelayOnlyTakesTime) {
  arm({"delay=60"});
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(volume(0).ID, 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));
}

TEST_F(Faults, WordsAreCheckedAndReadBack) {
  for (std::vector<std::string> words :
       {std::vector<std::string>{}, {"op=e2"}, {"op=zz", "ones"}, {"nth=0", "ones"}, {"nvme"}, {"what"}})
    EXPECT_THROW(sim::parseFault(words), sim::HostError) << testing::PrintToString(words);
  EXPECT_THROW(sim::parseFault({"adapter=x y", "ones"}), sim::HostError);
  std::string text = "adapter=vmhba3 op=cb group=e0 sub=1 nth=2 count=7 short=100";
  arm({"adapter=vmhba3", "op=cb", "group=e0", "sub=1", "nth=2", "count=7", "short=100"});
  ASSERT_EQ(sim::listFaults(directory).size(), 1U);
  EXPECT_EQ(sim::faultText(sim::listFaults(directory)[0]), text);
}

TEST_F(Faults, AnAdapterMayBeCalledSo) {
  make(R"({"adapters": [{"name": "faults"}]})");
  arm({"adapter=faults", "nvme=0x106"});
  Page page;
  EXPECT_EQ(function(0xE0, 0, page, "faults").folded(), 0x106U);
}

}  // namespace
}  // namespace simtest
