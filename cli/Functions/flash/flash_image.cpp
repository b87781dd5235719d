// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdint>

#include "Functions/flash/flash.h"
#include "Public/common.h"

namespace trx {
namespace {

// An image is sent in whole pages, and where a page lies in it is told in 32 bits.
constexpr size_t kLargestImage = UINT32_MAX - TRX_PAGE_SIZE + 1;

}  // namespace

std::optional<TRX_U32> openImage(CommandFile &file, const std::string &path) {
  if (file.open_file(path, "rb") != 0) {
    complain("failed to open file %s\n", path.c_str());
    std::fprintf(stderr, "trx_cli: %s: %s\n", file.path().c_str(), file.reason().c_str());
    return std::nullopt;
  }
  size_t length = file.get_file_length();
  if (length == 0) {
    complain("file %s is empty\n", path.c_str());
    return std::nullopt;
  }
  if (length > kLargestImage) {
    complain("file %s is too large\n", path.c_str());
    return std::nullopt;
  }
  return static_cast<TRX_U32>(length);
}

}  // namespace trx
