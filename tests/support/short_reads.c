/* SPDX-License-Identifier: GPL-3.0-or-later */
/* Reads as the system may do them: every second one is interrupted, the others bring half of it. */
#include <errno.h>
#include <unistd.h>

ssize_t __real_read(int file, void *data, size_t length);
ssize_t __real_pread(int file, void *data, size_t length, off_t offset);

static int interrupted(void) {
  static _Thread_local int now;
  errno = EINTR;
  return now = !now;
}

ssize_t __wrap_read(int file, void *data, size_t length) {
  return interrupted() ? -1 : __real_read(file, data, length - length / 2);
}

ssize_t __wrap_pread(int file, void *data, size_t length, off_t offset) {
  return interrupted() ? -1 : __real_pread(file, data, length - length / 2, offset);
}
