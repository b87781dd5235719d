// SPDX-License-Identifier: GPL-3.0-or-later
// Firmware images for people and tests.
#include <cstdio>
#include <cstring>

#include "launcher/verbs.h"
#include "model/firmware.h"

namespace sim {
namespace {

struct ImagePlan {
  std::string path;
  size_t bytes = 65536;
  NVME_Version_Info version{};
  std::string revision;  ///< empty: made from the version
  bool badSum = false;
};

size_t sizeOf(const std::string &text) {
  constexpr unsigned long kLargest = 1UL << 30;
  char *end = nullptr;
  unsigned long bytes = std::strtoul(text.c_str(), &end, 10);
  if (*end != '\0' || bytes < sizeof(ImageHead) + 4 || bytes > kLargest)
    throw UsageError("image: '" + text + "' is not a size from 28 to 1073741824");
  return bytes;
}

NVME_Version_Info versionOf(const std::string &text) {
  NVME_Version_Info version{};
  unsigned parts[4];
  char rest;
  int read =
      std::sscanf(text.c_str(), "%5u.%5u.%5u.%5u%c", &parts[0], &parts[1], &parts[2], &parts[3], &rest);
  bool fits = read == 4;
  for (unsigned part : parts) fits = fits && part <= 0xFFFF;
  if (!fits) throw UsageError("image: '" + text + "' is not a version such as 1.0.2.1031");
  for (size_t i = 0; i < 4; ++i) {
    auto number = static_cast<uint16_t>(parts[i]);
    std::memcpy(reinterpret_cast<char *>(&version) + 2 * i, &number, sizeof number);
  }
  return version;
}

ImagePlan planOf(const std::vector<std::string> &words) {
  if (words.empty()) throw UsageError("image: say which file to write");
  ImagePlan plan;
  plan.path = words[0];
  plan.version = versionOf("1.0.0.1");
  for (size_t i = 1; i < words.size(); ++i) {
    if (words[i] == "--bad-sum") {
      plan.badSum = true;
      continue;
    }
    if (i + 1 == words.size()) throw UsageError("image: " + words[i] + " needs a value");
    const std::string &value = words[i + 1];
    if (words[i] == "--size")
      plan.bytes = sizeOf(value);
    else if (words[i] == "--version")
      plan.version = versionOf(value);
    else if (words[i] == "--revision" && value.size() <= 8)
      plan.revision = value;
    else
      throw UsageError("image: '" + words[i] + " " + value + "' is not expected");
    ++i;
  }
  if (plan.revision.empty()) plan.revision = revisionText(plan.version);
  return plan;
}

std::vector<uint8_t> imageBytes(const ImagePlan &plan) {
  std::vector<uint8_t> image(plan.bytes);
  uint32_t seed = 1;
  for (uint8_t &byte : image) {
    seed = seed * 1664525 + 1013904223;
    byte = static_cast<uint8_t>(seed >> 24);
  }
  ImageHead head{};
  std::memcpy(head.magic, kImageMagic.data(), sizeof head.magic);
  head.version = plan.version;
  putText(head.revision, plan.revision);
  std::memcpy(image.data(), &head, sizeof head);

  size_t lastWord = (plan.bytes / 4 - 1) * 4;
  std::memset(&image[lastWord], 0, 4);
  uint32_t balance = 0 - wordSum(image) + (plan.badSum ? 1 : 0);
  std::memcpy(&image[lastWord], &balance, sizeof balance);
  return image;
}

}  // namespace

int imageVerb(const Arguments &arguments) {
  ImagePlan plan = planOf(arguments.words);
  std::vector<uint8_t> image = imageBytes(plan);
  writeInto(plan.path, std::string_view(reinterpret_cast<const char *>(image.data()), image.size()));
  return 0;
}

}  // namespace sim
