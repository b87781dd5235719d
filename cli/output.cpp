// SPDX-License-Identifier: GPL-3.0-or-later
#include "output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Public/common.h"

namespace trx {
namespace {

/// What is behind a stream.
struct Sink {
  int descriptor;
  int firstError = 0;  ///< errno of the first write that failed

  void note() {
    if (firstError == 0) firstError = errno;
  }
};

Sink gStandardOutput{STDOUT_FILENO};
Sink gFile{-1};

/// Write for a stream. @return bytes written; fewer than asked for is a failure
ssize_t writeTo(void *cookie, const char *bytes, size_t size) {
  Sink &sink = *static_cast<Sink *>(cookie);
  size_t done = 0;
  while (done < size) {
    ssize_t count = write(sink.descriptor, bytes + done, size - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      sink.note();
      break;
    }
    done += static_cast<size_t>(count);
  }
  return static_cast<ssize_t>(done);
}

int closeFile(void *cookie) {
  Sink &sink = *static_cast<Sink *>(cookie);
  int failed = close(sink.descriptor);
  if (failed != 0) sink.note();
  return failed;
}

std::FILE *openStream(Sink &sink, int (*closing)(void *)) {
  std::FILE *file = fopencookie(&sink, "a", {nullptr, writeTo, nullptr, closing});
  if (file && isatty(sink.descriptor)) std::setvbuf(file, nullptr, _IOLBF, BUFSIZ);
  return file;
}

bool tellFailure(const Sink &sink) {
  if (sink.firstError == 0) return false;
  std::fprintf(stderr, "trx_cli: the output could not be written: %s\n", std::strerror(sink.firstError));
  return true;
}

}  // namespace

void occupyStandardDescriptors() {
  for (int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) continue;
    // The lowest free one is this one. Open the other way round, its use fails as that of a closed one.
    if (open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) != descriptor) return;
  }
}

void watchOutput() {
  if (std::FILE *watched = openStream(gStandardOutput, nullptr)) stdout = watched;
  stream = stdout;
}

bool redirectStream(const char *path) {
  gFile.descriptor = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (gFile.descriptor < 0) return false;
  std::FILE *file = openStream(gFile, closeFile);
  if (!file) return false;
  stream = file;
  streamDescriptor = gFile.descriptor;
  return true;
}

bool useDocumentFile(const char *path) {
  gFile.descriptor = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (gFile.descriptor < 0) return false;
  streamDescriptor = gFile.descriptor;
  return true;
}

bool writeDocument(const std::string &document) {
  if (gFile.descriptor >= 0) {
    struct stat before {};
    const bool undoable = fstat(gFile.descriptor, &before) == 0 && S_ISREG(before.st_mode);
    const bool ended =
        writeTo(&gFile, document.data(), document.size()) == static_cast<ssize_t>(document.size());
    if (ended) return true;
    if (undoable && ftruncate(gFile.descriptor, before.st_size) != 0) gFile.note();
  }
  writeTo(&gStandardOutput, document.data(), document.size());
  return gFile.firstError == 0 && gStandardOutput.firstError == 0;
}

bool closeOutput() {
  if (stream != stdout) std::fclose(stream);
  stream = stdout;
  streamDescriptor = STDOUT_FILENO;
  std::fflush(stdout);
  bool fileFailed = tellFailure(gFile);
  return !tellFailure(gStandardOutput) && !fileFailed;
}

}  // namespace trx
