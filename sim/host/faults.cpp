// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/faults.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <random>
#include <sstream>

#include "host/directory.h"

namespace sim {
namespace {

struct Kind {
  const char *word;
  FaultKind kind;
  bool value;
  const char *help;
};

// clang-format off
constexpr Kind kKinds[] = {
    {"platform",  FaultKind::Platform,  true,  "N: the management call itself fails with status N"},
    {"nvme",      FaultKind::Nvme,      true,  "N: the command fails; N is status code type x 256 + status code"},
    {"signature", FaultKind::Signature, false, "the reply's signature is wrong"},
    {"status",    FaultKind::Status,    true,  "N: the firmware status byte of the reply is N"},
    {"short",     FaultKind::Short,     true,  "N: only the first N bytes of the data are written"},
    {"garbage",   FaultKind::Garbage,   false, "the data is noise"},
    {"ones",      FaultKind::Ones,      false, "the data is all ones"},
    {"delay",     FaultKind::Delay,     true,  "N: the command takes N milliseconds longer"},
};
// clang-format on

uint32_t number(const std::string &word, const std::string &text, int base) {
  char *end = nullptr;
  unsigned long value = std::strtoul(text.c_str(), &end, base);
  if (text.empty() || *end != '\0' || text[0] == '-' || value > UINT32_MAX)
    throw HostError("fault: " + word + "=" + text + " is not a number");
  return static_cast<uint32_t>(value);
}

/// A word of the fault's line, so that it is read back as it was.
std::string adapterName(const std::string &text) {
  if (text != "*" && !plainName(text))
    throw HostError("fault: adapter='" + text + "' is no name of lower-case letters and digits");
  return text;
}

bool parseMatch(Fault &fault, const std::string &word, const std::string &text) {
  if (word == "adapter")
    fault.adapter = adapterName(text);
  else if (word == "op")
    fault.opcode = number(word, text, 16);
  else if (word == "group")
    fault.group = number(word, text, 16);
  else if (word == "sub")
    fault.subCode = number(word, text, 16);
  else if (word == "nth")
    fault.skip = number(word, text, 0) - 1;
  else if (word == "count")
    fault.count = number(word, text, 0);
  else
    return false;
  return true;
}

bool parseKind(Fault &fault, const std::string &word, const std::string &text, bool valued) {
  for (const Kind &kind : kKinds) {
    if (word != kind.word) continue;
    if (kind.value != valued)
      throw HostError("fault: " + word +
                      (kind.value ? " needs a value, as in " + word + "=1" : " has no value"));
    fault.kind = kind.kind;
    if (valued) fault.value = number(word, text, 0);
    return true;
  }
  return false;
}

std::string path(const std::string &directory) { return directory + "/faults"; }

/// A lock file of its own could be an adapter's of the same name.
Descriptor lockFaults(const std::string &directory) {
  Descriptor file(open(markPath(directory).c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) throw HostError(markPath(directory) + ": " + std::strerror(errno));
  return file;
}

void store(const std::string &directory, const std::vector<Fault> &faults) {
  std::string text;
  for (const Fault &fault : faults) text += faultText(fault) + "\n";
  replaceFile(path(directory), text);
}

bool matches(const Fault &fault, const FaultSubject &subject) {
  return (fault.adapter == "*" || fault.adapter == subject.adapter) &&
         (!fault.opcode || *fault.opcode == subject.opcode) &&
         (!fault.group || fault.group == subject.group) &&
         (!fault.subCode || fault.subCode == subject.subCode);
}

}  // namespace

Fault parseFault(const std::vector<std::string> &words) {
  Fault fault;
  int kinds = 0;
  for (const std::string &whole : words) {
    size_t equals = whole.find('=');
    std::string word = whole.substr(0, equals);
    std::string text = equals == std::string::npos ? "" : whole.substr(equals + 1);
    if (equals != std::string::npos && parseMatch(fault, word, text)) continue;
    if (!parseKind(fault, word, text, equals != std::string::npos))
      throw HostError("fault: '" + whole + "' is not known");
    ++kinds;
  }
  if (kinds != 1) throw HostError("fault: say exactly one way to fail, such as nvme=0x6");
  if (fault.skip == UINT32_MAX || fault.count == 0) throw HostError("fault: nth and count start at 1");
  return fault;
}

std::string faultText(const Fault &fault) {
  std::ostringstream text;
  text << "adapter=" << fault.adapter << std::hex;
  if (fault.opcode) text << " op=" << *fault.opcode;
  if (fault.group) text << " group=" << *fault.group;
  if (fault.subCode) text << " sub=" << *fault.subCode;
  text << std::dec << " nth=" << fault.skip + 1 << " count=" << fault.count;
  for (const Kind &kind : kKinds) {
    if (kind.kind != fault.kind) continue;
    text << " " << kind.word;
    if (kind.value) text << "=" << fault.value;
  }
  return text.str();
}

std::string faultHelp() {
  std::string help =
      "which command: adapter=NAME op=HEX group=HEX sub=HEX (all optional; group and sub-code are those of\n"
      "a controller function or of a pair exchange), nth=N (default 1), count=N (default 1); and one of\n";
  for (const Kind &kind : kKinds)
    help += std::string("  ") + kind.word + (kind.value ? "=" : ": ") + kind.help + "\n";
  return help;
}

std::vector<Fault> listFaults(const std::string &directory) {
  bool exists = false;
  std::istringstream lines(readText(path(directory), exists));
  std::vector<Fault> faults;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::vector<std::string> parts;
    for (std::string word; words >> word;) parts.push_back(word);
    faults.push_back(parseFault(parts));
  }
  return faults;
}

void addFault(const std::string &directory, const Fault &fault) {
  Descriptor file = lockFaults(directory);
  FileLock lock(file.get());
  std::vector<Fault> faults = listFaults(directory);
  faults.push_back(fault);
  store(directory, faults);
}

void clearFaults(const std::string &directory) {
  Descriptor file = lockFaults(directory);
  FileLock lock(file.get());
  store(directory, {});
}

std::optional<Fault> strike(const std::string &directory, const FaultSubject &subject) {
  struct stat facts {};
  // Nothing armed is the usual case, and must cost next to nothing.
  if (stat(path(directory).c_str(), &facts) != 0 || facts.st_size == 0) return std::nullopt;
  Descriptor file = lockFaults(directory);
  FileLock lock(file.get());
  std::vector<Fault> faults = listFaults(directory);
  std::optional<Fault> struck;
  bool counted = false;
  for (size_t i = 0; i < faults.size() && !struck; ++i) {
    Fault &fault = faults[i];
    if (!matches(fault, subject)) continue;
    counted = true;
    if (fault.skip > 0) {
      --fault.skip;
      continue;
    }
    struck = fault;
    if (--fault.count == 0) faults.erase(faults.begin() + static_cast<std::ptrdiff_t>(i));
  }
  if (counted) store(directory, faults);
  return struck;
}

void spoilData(const Fault &fault, Completion &completion) {
  auto &data = completion.data;
  switch (fault.kind) {
    case FaultKind::Signature:
      if (data.size() >= 4) std::memcpy(data.data(), "BAD!", 4);
      break;
    case FaultKind::Status:
      if (data.size() > 4) data[4] = static_cast<uint8_t>(fault.value);
      break;
    case FaultKind::Short:
      data.resize(std::min<size_t>(data.size(), fault.value));
      break;
    case FaultKind::Ones:
      data.assign(data.size(), 0xFF);
      break;
    case FaultKind::Garbage: {
      // The same noise each time: a test that fails can be run again.
      std::minstd_rand noise(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
      for (uint8_t &byte : data) byte = static_cast<uint8_t>(noise() >> 8);
      break;
    }
    default:
      break;
  }
}

}  // namespace sim
