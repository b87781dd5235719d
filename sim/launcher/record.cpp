// SPDX-License-Identifier: GPL-3.0-or-later
// `trx_sim record`: writes the host's facts down, puts the recorder before the platform library, and
// becomes the program.
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "launcher/start.h"
#include "launcher/verbs.h"
#include "recording/mask.h"
#include "recording/recording.h"

namespace sim {
namespace {

namespace fs = std::filesystem;

/// The platform library that the program would have got. The search is the loader's own.
std::string platformLibrary() {
  std::unique_ptr<void, int (*)(void *)> library(dlopen("libvmkmgmt.so", RTLD_LAZY | RTLD_LOCAL), dlclose);
  if (!library) throw HostError(std::string("no platform library to record: ") + dlerror());
  link_map *map = nullptr;
  if (dlinfo(library.get(), RTLD_DI_LINKMAP, &map) != 0 || !map || !map->l_name)
    throw HostError("the platform library has no path");
  return fs::canonical(map->l_name);
}

std::vector<uint8_t> readAll(FILE *file) {
  std::vector<uint8_t> data;
  uint8_t piece[4096];
  for (size_t n; data.size() < kRecordedBlock && (n = std::fread(piece, 1, sizeof piece, file)) > 0;)
    data.insert(data.end(), piece, piece + n);
  if (data.size() > kRecordedBlock) data.resize(kRecordedBlock);
  return data;
}

std::vector<uint8_t> lspciListing() {
  std::unique_ptr<FILE, int (*)(FILE *)> pipe(popen("lspci -p 2>/dev/null", "r"), pclose);
  return pipe ? readAll(pipe.get()) : std::vector<uint8_t>{};
}

std::vector<uint8_t> smbiosFile() {
  std::unique_ptr<FILE, int (*)(FILE *)> file(std::fopen("/dev/char/mem/smbios", "rb"), std::fclose);
  return file ? readAll(file.get()) : std::vector<uint8_t>{};
}

/// A recording is evidence: one that is there already is not written over. Serial numbers are in it,
/// so it is its owner's alone.
void beginRecording(const std::string &path, bool mask) {
  Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!file) throw HostError(path + ": " + std::strerror(errno));
  Provisional begun(path);
  writeInto(path, std::string(kRecordingTitle) + "\n");
  std::vector<uint8_t> smbios = smbiosFile();
  if (mask) maskSmbios(smbios);
  appendRecorded(path, {.head = std::string(kLspciHead), .from = lspciListing()});
  appendRecorded(path, {.head = std::string(kSmbiosHead), .from = std::move(smbios)});
  begun.keep();
}

}  // namespace

int recordProgram(const Arguments &arguments) {
  FileAndProgram given = fileAndProgram(arguments, "record");
  if (std::getenv("TRX_SIM_RECORD")) throw UsageError("record: what runs here is recorded already");
  std::string next = platformLibrary();
  fs::path recorder = libraryDirectory(Library::Recorder);
  std::string path = fs::absolute(given.file);
  beginRecording(path, given.maskSerials);
  setenv("TRX_SIM_RECORD", path.c_str(), 1);
  setenv("TRX_SIM_RECORD_NEXT", next.c_str(), 1);
  if (given.maskSerials) setenv("TRX_SIM_RECORD_MASK", "1", 1);
  prepend("LD_LIBRARY_PATH", recorder.string(), ':');
  return becomeProgram(given.program);
}

}  // namespace sim
