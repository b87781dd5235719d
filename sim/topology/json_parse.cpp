// SPDX-License-Identifier: GPL-3.0-or-later
#include "topology/json_parse.h"

#include <algorithm>
#include <set>
#include <vector>

#include <nlohmann/json.hpp>

#include "files/files.h"

namespace sim {
namespace {

using nlohmann::json;

/// Goes along with the parser. A word that stands twice would be kept once, and nobody could tell which.
class OnceOnly {
 public:
  void follow(json::parse_event_t event, const json &parsed) {
    using Event = json::parse_event_t;
    if (event == Event::key) return see(parsed.get_ref<const std::string &>());
    if (event == Event::object_start || event == Event::array_start) {
      levels_.push_back({.isArray = event == Event::array_start});
      return;
    }
    if (event != Event::value) levels_.pop_back();
    if (!levels_.empty()) ++levels_.back().index;
  }

 private:
  struct Level {
    bool isArray;
    size_t index = 0;
    std::set<std::string> words{};
    std::string word{};
  };

  void see(const std::string &word) {
    levels_.back().word = word;
    if (!levels_.back().words.insert(word).second) throw HostError(printable(place() + ": stands twice"));
  }

  std::string place() const {
    std::string text;
    for (const Level &level : levels_) {
      if (level.isArray)
        text += "[" + std::to_string(level.index) + "]";
      else
        text += (text.empty() ? "" : ".") + level.word;
    }
    return text;
  }

  std::vector<Level> levels_;
};

}  // namespace

std::string printable(std::string text) {
  constexpr size_t kMost = 240;
  if (text.size() > kMost) text.replace(kMost, std::string::npos, "...");
  std::ranges::replace_if(
      text, [](char c) { return c < ' ' || c > '~'; }, '?');
  return text;
}

json parseJson(const std::string &text) {
  OnceOnly words;
  try {
    return json::parse(text, [&words](int, json::parse_event_t event, const json &parsed) {
      words.follow(event, parsed);
      return true;
    });
  } catch (const json::exception &error) {
    // The library's own name for the mistake stands in brackets before it.
    std::string what = error.what();
    throw HostError(printable("topology: not JSON: " + what.substr(what.find("] ") + 2)));
  }
}

}  // namespace sim
