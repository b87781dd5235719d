// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/faults.h"

#include <chrono>

#include "seam.h"

namespace {

class Faults : public FrozenHost {
 protected:
  using Words = std::vector<std::string>;
  void arm(const Words &words) { sim::addFault(directory, sim::parseFault(words)); }
};

TEST_F(Faults, EachKindBreaksItsOneThing) {
  // The last: first bytes of the page, which was 0xEE before.
  // clang-format off
  const std::tuple<const char *, int, unsigned, std::vector<uint8_t>> rows[] = {
      {"platform=19", 19, 0, {0xEE, 0xEE}}, {"nvme=0x106", 0, 0x106, {0xEE, 0xEE}}, {"nvme=0", 0, 0, {0xEE, 0xEE}}, {"signature", 0, 0, {'B', 'A', 'D', '!'}},
      {"status=9", 0, 0, {'T', 'R', 'X', 0, 9}}, {"short=3", 0, 0, {'T', 'R', 'X', 0xEE, 0xEE}}, {"ones", 0, 0, {0xFF, 0xFF}},
  };
  // clang-format on
  for (const auto &[word, platform, folded, head] : rows) {
    arm({word});
    Page page;
    std::memset(page.bytes, 0xEE, sizeof page.bytes);
    const Result result = function(0xE0, 0, page);
    EXPECT_EQ(result.platform, platform) << word;
    EXPECT_EQ(result.folded, folded) << word;
    EXPECT_EQ(result.ok(), head[0] != 0xEE) << word;
    EXPECT_EQ(std::memcmp(page.bytes, head.data(), head.size()), 0) << word;
    EXPECT_TRUE(function(0xE0, 0, page).ok()) << "once only: " << word;
  }
  arm({"delay=60"});
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(volume(0).ID, 0) << "a delay only takes time";
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));
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
  make(R"({"adapters": [{"name": "faults"}]})");
  arm({"adapter=faults", "nvme=0x106"});
  EXPECT_EQ(function(0xE0, 0, page, "faults").folded, 0x106U) << "an adapter may be called so";
}

TEST_F(Faults, PairExchangesMatchByTheirWordsAndStayInOrder) {
  Page answer;
  for (const char *op : {"op=cb", "op=ce"}) {
    arm({op, "group=e2", "sub=0", "nvme=0x6"});
    EXPECT_EQ(pair({0xE0, 0}, nullptr, 0, answer), 0U);
    EXPECT_EQ(pair({0xE2, 0}, RequestHeader{}), 0x1000U) << op;
    EXPECT_EQ(pair({0xE2, 0}, RequestHeader{}), 0U) << op;
  }
}

TEST_F(Faults, WordsAreCheckedAndReadBack) {
  for (const Words &words : {Words{},
                             {"op=e2"},
                             {"op=zz", "ones"},
                             {"nth=0", "ones"},
                             {"nvme"},
                             {"what"},
                             {"adapter=x y", "ones"}})
    EXPECT_THROW(sim::parseFault(words), sim::HostError) << testing::PrintToString(words);
  arm({"adapter=vmhba3", "op=cb", "group=e0", "sub=1", "nth=2", "count=7", "short=100"});
  ASSERT_EQ(sim::listFaults(directory).size(), 1U);
  EXPECT_EQ(sim::faultText(sim::listFaults(directory)[0]),
            "adapter=vmhba3 op=cb group=e0 sub=1 nth=2 count=7 short=100");
}

}  // namespace
