// SPDX-License-Identifier: GPL-3.0-or-later
// What the lock promises and what it cannot: every interleaving of a few processes that take it and give it
// back once, in the steps of function/lock.cpp, with waiters whose time is up and with deaths at any step.
#include <gtest/gtest.h>

#include <algorithm>
#include <compare>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

/// Where a process is. Giving: it has read the value 0, and not posted yet.
enum class Place : uint8_t { Outside, Waiting, Inside, Giving, Done, Dead };

struct Process {
  Place place = Place::Outside;
  bool late = false;   ///< it is inside because its time was up
  unsigned found = 0;  ///< bit n: process n held the lock when this one came, and does so still
  bool holds() const { return place == Place::Inside || place == Place::Giving; }
  auto operator<=>(const Process &) const = default;
};

struct State {
  unsigned value = 1;
  std::vector<Process> all = {};
  auto operator<=>(const State &) const = default;
};

/// Whom a waiter goes past when its time is up.
enum Past : unsigned {
  kDead = 1,    ///< nobody alive
  kQueue = 2,   ///< one that came in meanwhile: several together took the time
  kFellow = 4,  ///< one whose own time was up while this one waited, too
  kSlow = 8     ///< one that held the lock all the time
};

class Explorer {
 public:
  Explorer(size_t processes, unsigned value, unsigned past) : past_(past) {
    visit({value, std::vector<Process>(processes)});
  }
  std::string found() const {
    std::ostringstream text;
    text << seen_.size() << " states, " << crowded_ << " with two inside, value up to " << most_ << ", left";
    for (const unsigned value : left_) text << " " << value;
    text << "; with dead";
    for (const unsigned value : leftByDead_) text << " " << value;
    return text.str();
  }

 private:
  bool mayGoPast(const State &state, const Process &waiter) const {
    unsigned past = kDead;
    for (size_t i = 0; i < state.all.size(); ++i)
      if (const Process &other = state.all[i]; other.holds())
        past = std::max<unsigned>(past, waiter.found >> i & 1 ? kSlow : other.late ? kFellow : kQueue);
    return (past_ & past) != 0;
  }

  void move(State state, size_t who, Place to, int posted, bool late = false) {
    Process &moved = state.all[who];
    moved.place = to;
    moved.late = moved.holds() && (late || moved.late);
    state.value += static_cast<unsigned>(posted);
    for (size_t i = 0; i < state.all.size(); ++i) {
      if (to == Place::Waiting && state.all[i].holds()) moved.found |= 1U << i;
      if (!moved.holds()) state.all[i].found &= ~(1U << who);
    }
    if (to != Place::Waiting) moved.found = 0;
    visit(state);
  }

  void step(const State &state, size_t who) {
    const Process &process = state.all[who];
    if (process.place >= Place::Done) return;
    move(state, who, Place::Dead, 0);
    if (process.holds()) {
      if (process.place == Place::Giving) return move(state, who, Place::Done, 1);  // sem_post
      return move(state, who, state.value == 0 ? Place::Giving : Place::Done, 0);   // sem_getvalue
    }
    if (state.value > 0) return move(state, who, Place::Inside, -1);  // sem_timedwait
    if (process.place == Place::Outside) return move(state, who, Place::Waiting, 0);
    if (mayGoPast(state, process)) move(state, who, Place::Inside, 0, true);
  }

  void visit(const State &state) {
    if (!seen_.insert(state).second) return;
    size_t inside = 0, dead = 0, gone = 0;
    for (size_t i = 0; i < state.all.size(); ++i) {
      inside += state.all[i].place == Place::Inside;
      dead += state.all[i].place == Place::Dead;
      gone += state.all[i].place >= Place::Done;
      step(state, i);
    }
    most_ = std::max(most_, state.value);
    crowded_ += inside > 1;
    if (gone == state.all.size()) (dead ? leftByDead_ : left_).insert(state.value);
  }

  unsigned past_, most_ = 0;
  size_t crowded_ = 0;
  std::set<State> seen_;
  std::set<unsigned> left_, leftByDead_;
};

// clang-format off
TEST(LockModel, ExclusionEndsOnlyWhereAWaiterGoesPastOneThatLives) {
  constexpr unsigned kAnybody = kDead | kQueue | kFellow | kSlow;
  const struct { size_t processes; unsigned value, past; const char *found; } rows[] = {
      {2, 1, 0,                        "34 states, 0 with two inside, value up to 1, left 1; with dead 0 1"},
      {2, 1, kAnybody & ~kSlow,        "38 states, 0 with two inside, value up to 1, left 1; with dead 0 1"},
      {2, 1, kAnybody,                 "55 states, 2 with two inside, value up to 2, left 1 2; with dead 0 1"},
      {3, 1, 0,                        "190 states, 0 with two inside, value up to 1, left 1; with dead 0 1"},
      {3, 1, kDead,                    "244 states, 0 with two inside, value up to 1, left 1; with dead 0 1"},
      {3, 1, kDead | kQueue,           "281 states, 6 with two inside, value up to 2, left 1 2; with dead 0 1"},
      {3, 1, kDead | kFellow,          "271 states, 3 with two inside, value up to 2, left 1; with dead 0 1 2"},
      {3, 1, kAnybody,                 "567 states, 57 with two inside, value up to 3, left 1 2 3; with dead 0 1 2"},
      // Later ones, on what the rows above left.
      {2, 0, kDead,                    "38 states, 0 with two inside, value up to 1, left 1; with dead 0 1"},
      {2, 2, kDead,                    "36 states, 1 with two inside, value up to 2, left 1 2; with dead 0 1 2"},
      {1, 0, kDead,                    "6 states, 0 with two inside, value up to 1, left 1; with dead 0"},
      {1, 2, kDead,                    "5 states, 0 with two inside, value up to 2, left 1; with dead 1 2"},
      {1, 3, kDead,                    "5 states, 0 with two inside, value up to 3, left 2; with dead 2 3"},
  };
  for (const auto &row : rows)
    EXPECT_EQ(Explorer(row.processes, row.value, row.past).found(), row.found)
        << row.processes << " processes, value " << row.value << ", past " << row.past;
}
// clang-format on

}  // namespace
