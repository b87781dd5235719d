// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/state.h"

#include <algorithm>
#include <utility>

namespace sim {
namespace {

template <typename Range, typename Match>
auto *findIn(Range &range, Match match) {
  auto found = std::find_if(range.begin(), range.end(), match);
  return found == range.end() ? nullptr : &*found;
}

}  // namespace

bool plainName(std::string_view text) {
  constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyz0123456789";
  return !text.empty() && text.size() <= 20 && text.find_first_not_of(kPlain) == text.npos;
}

const Disk *findDisk(const Adapter &adapter, uint32_t id) {
  return findIn(adapter.disks, [id](const Disk &d) { return d.id == id && d.present; });
}

Disk *findDisk(Adapter &adapter, uint32_t id) {
  return const_cast<Disk *>(findDisk(std::as_const(adapter), id));
}

const Volume *findVolume(const Adapter &adapter, uint32_t id) {
  return findIn(adapter.volumes, [id](const Volume &v) { return v.id == id; });
}

Volume *findVolume(Adapter &adapter, uint32_t id) {
  return const_cast<Volume *>(findVolume(std::as_const(adapter), id));
}

const Namespace *findNamespace(const Adapter &adapter, uint32_t nsid) {
  return findIn(adapter.namespaces, [nsid](const Namespace &n) { return n.nsid == nsid; });
}

Namespace *findNamespace(Adapter &adapter, uint32_t nsid) {
  return const_cast<Namespace *>(findNamespace(std::as_const(adapter), nsid));
}

void putText(std::span<char> field, std::string_view text, char fill) {
  size_t n = std::min(field.size(), text.size());
  std::copy_n(text.begin(), n, field.begin());
  std::fill(field.begin() + static_cast<std::ptrdiff_t>(n), field.end(), fill);
}

std::string fieldText(std::span<const char> field) {
  std::string_view text(field.data(), field.size());
  text = text.substr(0, text.find('\0'));
  while (text.ends_with(' ')) text.remove_suffix(1);
  return std::string(text);
}

}  // namespace sim
