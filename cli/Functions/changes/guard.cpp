// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/changes/guard.h"

#include <algorithm>

#include "Functions/changes/objects.h"
#include "Public/common.h"
#include "Public/listing.h"
#include "Public/report.h"

namespace trx {
namespace {

using Expectations = std::vector<std::pair<std::string, std::string>>;

bool gChecked = false;  ///< the guard of this line was asked, and held
bool gLooking = false;  ///< the guard's own reads go on

class Looking {
 public:
  Looking() { gLooking = true; }
  ~Looking() { gLooking = false; }
};

[[noreturn]] void endLine() { throw LineEnds{}; }

/// An object that is about to be changed, as it is now.
struct Seen {
  Kind kind;
  std::string name;
  Document facts;
};

Seen look(const Target &target) {
  Seen seen{target.kind, nameOf(target), {}};
  if (const Failure failure = gatherObject(target, seen.facts)) {
    note(failure);
    tellFailed("%s could not be looked at: %s. Nothing was sent.\n", seen.name.c_str(), textOf(failure));
    endLine();
  }
  return seen;
}

/// The kind of objects that a key is about. Where there are several, as the volume and its new member in a
/// rebuild, it is the first one that has the key.
Kind kindWith(const std::string &key, std::vector<Seen> &all) {
  const auto found = std::ranges::find_if(
      all, [&](Seen &seen) { return seen.facts.root().match(key, "") != Object::Match::UnknownKey; });
  if (found != all.end()) return found->kind;
  complain("trx_cli: --expect: %s has no %s\n", all.front().name.c_str(), key.c_str());
  endLine();
}

/// Hold one object against what is expected of it.
void hold(Seen &seen, const std::string &key, const std::string &value) {
  const Object object = seen.facts.root();
  if (object.match(key, value) == Object::Match::Equal) return;
  if (gathersFacts()) {
    Object found = data().append("found");
    found.put("object", seen.name);
    found.put("key", key);
    found.put("expected", value);
    found.put("value", object.typed(key));
  }
  tellWrong(Outcome::Guarded, "%s: %s is '%s', not '%s'. Nothing was sent.\n", seen.name.c_str(), key.c_str(),
            object.typed(key).c_str(), value.c_str());
  endLine();
}

void checkGuard(const std::vector<Wire> &wires) {
  if (!gLine.expect || gChecked) return;
  const Looking looking;
  Expectations expectations;
  if (!readExpectations(*gLine.expect, expectations)) {
    complain("trx_cli: --expect wants KEY=VALUE[,KEY=VALUE]\n");
    endLine();
  }
  std::vector<Seen> all;
  for (const Wire &wire : wires) {
    const RequestRow *row = rowOf(wire);
    for (const Target &target : row ? row->targets(wire) : std::vector<Target>{}) all.push_back(look(target));
  }
  if (all.empty()) {
    complain("trx_cli: --expect: nothing of what the command changes can be looked at\n");
    endLine();
  }
  for (Seen &seen : all) {
    for (const auto &[key, value] : expectations) {
      if (kindWith(key, all) == seen.kind) hold(seen, key, value);
    }
  }
  gChecked = true;
}

/// The dwords that are not 0, in the form of the debug trace.
void showDwords(const Wire &wire) {
  for (unsigned i = 0; i < wire.cdw.size(); ++i) {
    if (i == 0 || wire.cdw[i] != 0)
      heading(i < 10 ? "CDW[%u] : 0x%08x\n" : "CDW[%u]: 0x%08x\n", i, wire.cdw[i]);
  }
}

uint64_t piecesOf(const Wire &wire) { return (wire.imageBytes + wire.data.size() - 1) / wire.data.size(); }

void showData(const Wire &wire) {
  constexpr size_t kShown = 16;
  if (wire.data.empty()) return;
  if (wire.imageBytes != 0)
    heading("Image: %llu bytes in %llu pieces, of which this is the first\n",
            static_cast<unsigned long long>(wire.imageBytes),
            static_cast<unsigned long long>(piecesOf(wire)));
  heading("Data: %zu bytes:", wire.data.size());
  for (size_t i = 0; i < std::min(kShown, wire.data.size()); ++i) heading(" %02x", wire.data[i]);
  heading(wire.data.size() > kShown ? " ...\n" : "\n");
}

/// What is not there would be refused: a dry run says so.
void lookFor(const std::vector<Target> &targets) {
  const Looking looking;
  for (const Target &target : targets) {
    Document facts;
    const Aside aside;
    if (target.kind == Kind::Adapter || gatherObject(target, facts).outcome != Outcome::NotFound) continue;
    tellWrong(Outcome::NotFound, "%s is not there.\n", nameOf(target).c_str());
    endLine();
  }
}

void show(const Wire &wire) {
  const RequestRow *row = rowOf(wire);
  const char *name = row ? row->name : "Unknown request";
  const char *device = TRX_Adapter_GetDevicePath(wire.adapter);
  std::vector<std::string> losses;
  if (row && row->loss) {
    const Looking looking;
    const Aside aside;
    for (const Target &target : row->losers(wire)) losses.push_back(describe(target) + " " + row->loss);
  }
  heading("Would send to %s: %s\n", device, name);
  showDwords(wire);
  showData(wire);
  for (const std::string &loss : losses) heading("Loss: %s\n", loss.c_str());
  if (!gathersFacts()) return;
  Object entry = data().append("would_send");
  entry.put("function", std::string(name));
  entry.put("device", std::string(device));
  entry.put("dwords", Numbers{{wire.cdw.begin(), wire.cdw.end()}});
  entry.put("data", Bytes{wire.data});
  if (wire.imageBytes != 0) {
    entry.put("image_bytes", wire.imageBytes);
    entry.put("segment_count", piecesOf(wire));
  }
  entry.array("loss");
  for (const std::string &loss : losses) entry.appendText("loss", loss);
}

void beforeSend(const Wire &wire) {
  if (gLooking || !changesSomething(wire)) return;
  beforeChanges({wire});
}

}  // namespace

bool readExpectations(const std::string &text, Expectations &pairs) {
  std::string part;
  auto take = [&] {
    size_t equals = part.find('=');
    if (equals == 0 || equals == std::string::npos) return false;
    pairs.emplace_back(part.substr(0, equals), part.substr(equals + 1));
    part.clear();
    return true;
  };
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size() && text[i + 1] == ',') {
      part += text[++i];
    } else if (text[i] != ',') {
      part += text[i];
    } else if (!take()) {
      return false;
    }
  }
  return take();
}

void guardLine() {
  gChecked = gLooking = false;
  gBeforeSend = gLine.dryRun || gLine.expect ? beforeSend : nullptr;
}

bool finishGuard() {
  gBeforeSend = nullptr;
  if (!gLine.expect || gChecked || outcomeNow() != Outcome::Ok) return false;
  complain("trx_cli: --expect: the command changes nothing\n");
  return true;
}

void beforeChanges(const std::vector<Wire> &wires) {
  checkGuard(wires);
  if (!gLine.dryRun) return;
  for (const Wire &wire : wires) {
    if (const RequestRow *row = rowOf(wire)) lookFor(row->targets(wire));
  }
  for (const Wire &wire : wires) show(wire);
  tell("Dry run: nothing was sent.\n");
  endLine();
}

}  // namespace trx
