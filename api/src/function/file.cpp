// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "function/log.h"
#include "function/message.h"

namespace {

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  operator int() const { return number_; }

 private:
  int number_;
};

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

// The length of an open image, if it is one.
bool measure(int file, const TRXFileBuffer &buffer, std::size_t *length) {
  struct stat about {};
  if (file < 0 || fstat(file, &about) != 0) {
    printError(TRX_MESSAGE_ERROR, "Firmware image %s: cannot be opened: %s.\n", buffer.m_path,
               std::strerror(errno));
    return false;
  }
  if (!S_ISREG(about.st_mode)) {
    printError(TRX_MESSAGE_ERROR, "Firmware image %s: not a regular file.\n", buffer.m_path);
    return false;
  }
  *length = static_cast<std::size_t>(about.st_size);
  // The offset after the last step, which is a whole one, must still be a 32-bit number.
  const TRX_U32 step = std::max<TRX_U32>(buffer.m_step_length, 1);
  const std::size_t most = UINT32_MAX / step * step;
  if (*length <= most) return true;
  printError(TRX_MESSAGE_ERROR, "Firmware image %s: too large, %zu bytes of at most %zu.\n", buffer.m_path,
             *length, most);
  return false;
}

bool load(int file, TRXFileBuffer &buffer, std::size_t length) {
  // A byte more than there should be shows a file that grows.
  buffer.m_image.reset(new (std::nothrow) TRX_U8[length + 1]);
  void *step = nullptr;
  if (posix_memalign(&step, TRX_PAGE_SIZE, buffer.m_step_length) == 0)
    buffer.m_data.reset(static_cast<TRX_U8 *>(step));
  if (!buffer.m_image || !buffer.m_data) {
    printError(TRX_MESSAGE_ERROR, "Firmware image %s: no memory for %zu bytes.\n", buffer.m_path, length);
    return false;
  }
  const ssize_t count = readUpTo(file, buffer.m_image.get(), length + 1);
  if (count < 0) {
    printError(TRX_MESSAGE_ERROR, "Firmware image %s: cannot be read: %s.\n", buffer.m_path,
               std::strerror(errno));
    return false;
  }
  if (static_cast<std::size_t>(count) == length) return true;
  printError(TRX_MESSAGE_ERROR, "Firmware image %s: changed while it was read.\n", buffer.m_path);
  return false;
}

}  // namespace

TRXFileBuffer *CreateTRXFileBufferInstance() {
  auto *buffer = new (std::nothrow) TRXFileBuffer{};
  if (!buffer) return nullptr;
  buffer->open_for_read = TRXFileBuffer_open_for_read;
  buffer->read = TRXFileBuffer_read;
  buffer->get_offset = PTRXFileBuffer_get_offset;
  buffer->get_file_length = TRXFileBuffer_get_file_length;
  buffer->close = TRXFileBuffer_close;
  return buffer;
}

TRX_U32 TRXFileBuffer_open_for_read(TRXFileBuffer *buffer, char *path, TRX_U32 step) {
  buffer->m_path = withoutQuotes(path);
  buffer->m_step_length = step;
  add_log("open file %s.\n", buffer->m_path);
  // Without waiting for somebody to write into a FIFO; that is refused once it is open.
  const Descriptor file(open(buffer->m_path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  std::size_t length = 0;
  if (!measure(file, *buffer, &length) || !load(file, *buffer, length)) return 1;
  std::memset(buffer->m_data.get(), 0, step);
  buffer->m_offset = 0;
  buffer->m_length = length;
  return 0;
}

TRX_U8 *TRXFileBuffer_read(TRXFileBuffer *buffer) {
  const std::size_t begin = std::min<std::size_t>(buffer->m_offset, buffer->m_length);
  const std::size_t length = std::min<std::size_t>(buffer->m_step_length, buffer->m_length - begin);
  if (length) std::memcpy(buffer->m_data.get(), &buffer->m_image[begin], length);
  buffer->m_offset += buffer->m_step_length;
  return buffer->m_data.get();
}

TRX_U32 PTRXFileBuffer_get_offset(const TRXFileBuffer *buffer) { return buffer ? buffer->m_offset : 0; }

std::size_t TRXFileBuffer_get_file_length(const TRXFileBuffer *buffer) { return buffer->m_length; }

void TRXFileBuffer_close(TRXFileBuffer *buffer) { delete buffer; }
