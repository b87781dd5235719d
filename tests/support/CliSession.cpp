// SPDX-License-Identifier: GPL-3.0-or-later
#include "CliSession.h"

#include <dlfcn.h>
#include <semaphore.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "Functions/commandTables.h"
#include "Functions/simple/simple_info.h"
#include "Public/common.h"
#include "Public/report.h"
#include "trx/trx_api.h"

// The linker puts these in the place of the library's two ways to send an admin command.
extern "C" {
decltype(TRX_Adapter_Admin) __real_TRX_Adapter_Admin;
decltype(TRX_Adapter_PassthruAdmin) __real_TRX_Adapter_PassthruAdmin;

TRX_U32 __wrap_TRX_Adapter_Admin(TRX_U8 adapter, TRX_U8 opcode, TRX_U32 nsid, const TRX_U32 *cdw,
                                 TRX_U8 count, const void *in, TRX_U16 given, void *out, TRX_U16 length) {
  TRX_U32 status = __real_TRX_Adapter_Admin(adapter, opcode, nsid, cdw, count, in, given, out, length);
  if (out && trx::test::deviceSays) trx::test::deviceSays({static_cast<uint8_t *>(out), length});
  return status;
}

TRX_U32 __wrap_TRX_Adapter_PassthruAdmin(TRX_U8 adapter, const trx_admin_command_format *entry,
                                         const void *in, TRX_U16 given, void *out, TRX_U16 length) {
  TRX_U32 status = __real_TRX_Adapter_PassthruAdmin(adapter, entry, in, given, out, length);
  if (out && trx::test::deviceSays) trx::test::deviceSays({static_cast<uint8_t *>(out), length});
  return status;
}
}

namespace trx::test {

std::function<void(std::span<uint8_t>)> deviceSays;

Capture::Capture(int descriptor) : descriptor_(descriptor), saved_(dup(descriptor)) {
  std::fflush(nullptr);
  dup2(file_.descriptor(), descriptor_);
}

Capture::~Capture() {
  std::fflush(nullptr);
  dup2(saved_, descriptor_);
  close(saved_);
}

std::string Capture::text() {
  std::fflush(nullptr);
  return file_.content();
}

CliSession::CliSession(const std::string &topology) : host_(topology) {
  // Loaded once, it is found by its name alone: also under the sanitizers, whose dlopen searches their
  // own run path and not this program's.
  static void *const platform = dlopen(TRX_SIM_PLATFORM, RTLD_NOW);
  if (!platform) std::abort();
  setenv("TRX_SIM_STATE", host_.stateDirectory().c_str(), 1);
  setenv("TRX_SIM_TRACE", host_.traceFile().c_str(), 1);
  useCommandTables();
  gCurrentAdapter = 0;
  gSpecificAdapterFlag = 0;
  start();
  host_.traffic();
}

CliSession::~CliSession() {
  TRX_Final();
  // The semaphores outlive the process on purpose; after a test nobody wants them.
  for (char place = '0'; place <= '0' + 64; ++place) sem_unlink((std::string("trxd") + place).c_str());
  g_pAdInfos.clear();
  g_oneBaseMode = 0;
  dbg_enable = false;
  deviceSays = nullptr;
  beginReport({});
  stream = stdout;
}

void CliSession::start() {
  TRX_Init();
  gNumAdaptersFound = TRX_Adapter_GetCount();
  g_pAdInfos.assign(gNumAdaptersFound, NVME_Adapter_Info{});
  for (uint8_t i = 0; i < gNumAdaptersFound; ++i) TRX_Adapter_GetSimpleInfo(i, &g_pAdInfos[i]);
}

CommandResult CliSession::run(const std::string &line) {
  std::vector<char> buffer(line.begin(), line.end());
  buffer.push_back('\0');
  std::array<char *, kMaxTokens> tokens{};
  int32_t count = 0;
  if (!parse(&count, tokens.data(), buffer.data()) || count > kMaxTokens)
    return {-2, "", "", "unparsable line"};

  Capture standardOutput(STDOUT_FILENO), standardError(STDERR_FILENO);
  int32_t status = 0;
  const std::string out = outputOf([&] { status = cmdDispatcher(count, tokens.data()); });
  return {status, out, standardOutput.text(), standardError.text()};
}

Words CliSession::requests() {
  Words lines = host_.traffic();
  for (std::string &line : lines) line.resize(std::min(line.size(), line.find(" ->")));
  return lines;
}

std::string outputOf(const std::function<void()> &code) {
  struct Memory {  // a line may end with an exception
    ~Memory() {
      std::fclose(std::exchange(stream, stdout));
      std::free(text);
    }
    char *text = nullptr;
    size_t length = 0;
  } memory;
  stream = open_memstream(&memory.text, &memory.length);
  code();
  std::fflush(stream);
  return {memory.text, memory.length};
}

}  // namespace trx::test
