/* SPDX-License-Identifier: GPL-3.0-or-later */
/* Reads as the system may do them: every second one is interrupted, the others bring half of it. */
#include <errno.h>
#include <unistd.h>

ssize_t __real_read(int file, void *data, size_t length);
ssize_t __real_pread(int file, void *data, size_t length, off_t offset);

int readError;

static int fails(void) {
  static _Thread_local int interrupted;
  errno = readError ? readError : EINTR;
  return readError || (interrupted = !interrupted);
}

ssize_t __wrap_read(int file, void *data, size_t length) {
  return fails() ? -1 : __real_read(file, data, length - length / 2);
}

ssize_t __wrap_pread(int file, void *data, size_t length, off_t offset) {
  return fails() ? -1 : __real_pread(file, data, length - length / 2, offset);
}
