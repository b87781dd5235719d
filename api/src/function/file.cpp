// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "function/log.h"

namespace {

void closeFile(TRXFileBuffer *buffer) {
  const int file = std::exchange(buffer->m_file, -1);
  if (file >= 0) close(file);
}

void freeData(TRXFileBuffer *buffer) { std::free(std::exchange(buffer->m_data, nullptr)); }

TRX_U8 *pagesFor(TRX_U32 bytes) {
  const std::size_t pages = (std::size_t{bytes} + TRX_PAGE_SIZE - 1) / TRX_PAGE_SIZE;
  return static_cast<TRX_U8 *>(std::aligned_alloc(TRX_PAGE_SIZE, pages * TRX_PAGE_SIZE));
}

// Read up to `length` bytes, fewer only at the end of the file. @return bytes, or -1
ssize_t readUpTo(int file, TRX_U8 *data, std::size_t length) {
  std::size_t done = 0;
  while (done < length) {
    const ssize_t count = read(file, data + done, length - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return -1;
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return static_cast<ssize_t>(done);
}

char *withoutQuotes(char *path) {
  while (*path == '\'') ++path;
  const std::size_t length = std::strlen(path);
  if (length && path[length - 1] == '\'') path[length - 1] = '\0';
  return path;
}

}  // namespace

TRXFileBuffer *CreateTRXFileBufferInstance() {
  auto *buffer = new (std::nothrow) TRXFileBuffer{};
  if (!buffer) return nullptr;
  buffer->m_file = -1;
  buffer->open_for_read = TRXFileBuffer_open_for_read;
  buffer->read = TRXFileBuffer_read;
  buffer->get_offset = PTRXFileBuffer_get_offset;
  buffer->get_file_length = TRXFileBuffer_get_file_length;
  buffer->close = TRXFileBuffer_close;
  return buffer;
}

TRX_U32 TRXFileBuffer_open_for_read(TRXFileBuffer *buffer, char *path, TRX_U32 step) {
  path = withoutQuotes(path);
  add_log("open file %s.\n", path);
  closeFile(buffer);
  buffer->m_file = open(path, O_RDONLY | O_CLOEXEC);
  if (buffer->m_file < 0) {
    buffer->m_file = -1;
    return 1;
  }
  buffer->m_step_length = step;
  buffer->m_offset = 0;
  freeData(buffer);
  if (step) buffer->m_data = pagesFor(step);
  return 0;
}

TRX_U8 *TRXFileBuffer_read(TRXFileBuffer *buffer) {
  if (buffer->m_file < 0 || !buffer->m_data) return buffer->m_data;
  const ssize_t count = readUpTo(buffer->m_file, buffer->m_data, buffer->m_step_length);
  if (count < 0) {
    add_log("Unable to read file.\n");
    return buffer->m_data;
  }
  // Memory of who knows whom must not reach the controller behind a short first step.
  const auto got = static_cast<std::size_t>(count);
  if (buffer->m_offset == 0) std::memset(buffer->m_data + got, 0, buffer->m_step_length - got);
  buffer->m_offset += buffer->m_step_length;
  return buffer->m_data;
}

TRX_U32 PTRXFileBuffer_get_offset(const TRXFileBuffer *buffer) { return buffer ? buffer->m_offset : 0; }

TRX_U32 TRXFileBuffer_get_file_length(const TRXFileBuffer *buffer) {
  if (buffer->m_file < 0) return 0;
  const off_t here = lseek(buffer->m_file, 0, SEEK_CUR);
  const off_t end = lseek(buffer->m_file, 0, SEEK_END);
  lseek(buffer->m_file, here, SEEK_SET);
  return end < 0 ? 0 : static_cast<TRX_U32>(end);
}

void TRXFileBuffer_close(TRXFileBuffer *buffer) {
  closeFile(buffer);
  freeData(buffer);
  delete buffer;
}
