// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/passthru/buffer.h"

#include <sys/mman.h>

namespace trx {
namespace {

constexpr uint64_t kPage = 4096;

size_t wholePages(uint64_t bytes) { return static_cast<size_t>((bytes + kPage - 1) / kPage * kPage); }

}  // namespace

bool PageBuffer::allocate(uint64_t bytes) {
  release();
  if (bytes == 0) return true;
  if (bytes > UINT32_MAX - kPage) return false;
  void *pages = mmap(nullptr, wholePages(bytes), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pages == MAP_FAILED) return false;
  data_ = pages;
  length_ = static_cast<size_t>(bytes);
  return true;
}

void PageBuffer::release() {
  if (data_) munmap(data_, wholePages(length_));
  data_ = nullptr;
  length_ = 0;
}

}  // namespace trx
