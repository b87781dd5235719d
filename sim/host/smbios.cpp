// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/smbios.h"

#include <cstring>
#include <string>

namespace sim {
namespace {

constexpr uint8_t kSystemSlot = 9;
constexpr uint8_t kEndOfTable = 127;
constexpr uint8_t kInUse = 4;

void append(std::vector<char> &image, std::initializer_list<unsigned> bytes) {
  for (unsigned byte : bytes) image.push_back(static_cast<char>(byte));
}

void put(std::vector<char> &image, size_t at, unsigned value, size_t bytes) {
  for (size_t i = 0; i < bytes; ++i) image[at + i] = static_cast<char>(value >> (8 * i));
}

/// Makes `length` bytes from `at` sum to 0 by the byte at `place`.
void balance(std::vector<char> &image, size_t at, size_t length, size_t place) {
  image[place] = 0;
  unsigned sum = 0;
  for (size_t i = 0; i < length; ++i) sum += static_cast<unsigned char>(image[at + i]);
  image[place] = static_cast<char>(0x100 - (sum & 0xFF));
}

/// System Slots structure, DMTF SMBIOS reference, 7.10, in its version 2.6 length.
void appendSlot(std::vector<char> &image, const AdapterCore &core, unsigned handle) {
  auto id = static_cast<unsigned>(core.slot);
  append(image,
         {kSystemSlot, 17, handle & 0xFF, handle >> 8, 1, 0xAB /* PCIe 3 x8 */, 0x0B, kInUse, 4, id & 0xFF,
          id >> 8 & 0xFF, 0x0C, 1, 0, 0, core.bus, static_cast<unsigned>(core.device << 3 | core.function)});
  std::string name = "PCIe Slot " + std::to_string(core.slot);
  image.insert(image.end(), name.begin(), name.end());
  append(image, {0, 0});
}

void entryPoint3(std::vector<char> &image) {
  std::memcpy(image.data(), "_SM3_", 5);
  put(image, 6, 24, 1);
  put(image, 7, 3, 1);
  put(image, 8, 2, 1);
  put(image, 10, 1, 1);
  put(image, 12, static_cast<unsigned>(image.size()), 4);
  balance(image, 0, 24, 5);
}

void entryPoint2(std::vector<char> &image, unsigned structures) {
  std::memcpy(image.data(), "_SM_", 4);
  put(image, 5, 31, 1);
  put(image, 6, 2, 1);
  put(image, 7, 8, 1);
  put(image, 8, 83, 2);
  std::memcpy(image.data() + 16, "_DMI_", 5);
  put(image, 22, static_cast<unsigned>(image.size()), 2);
  put(image, 28, structures, 2);
  put(image, 30, 0x28, 1);
  balance(image, 16, 15, 21);
  balance(image, 0, 31, 4);
}

}  // namespace

std::vector<char> smbiosImage(const HostPlan &plan) {
  // The table starts at offset 0 too, so the entry point is walked as its first structure: type '_',
  // length 'S' (83 bytes). Zeros fill it up, and an empty string set ends it.
  std::vector<char> image(size_t{'S'} + 2, 0);
  unsigned structures = 2;
  for (const Adapter &adapter : plan.adapters)
    if (adapter.core.slot >= 0) appendSlot(image, adapter.core, 0x100 + structures++);
  append(image, {kEndOfTable, 4, 0xFF, 0xFE, 0, 0});
  if (plan.smbiosVersion == 2)
    entryPoint2(image, structures);
  else
    entryPoint3(image);
  return image;
}

}  // namespace sim
