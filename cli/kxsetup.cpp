// SPDX-License-Identifier: GPL-3.0-or-later
// The program's entry: which adapter, which output, then one command or the prompt.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

#include "Functions/commandTables.h"
#include "Functions/help/help.h"
#include "Functions/simple/simple_info.h"
#include "Public/numbers.h"
#include "Public/utility.h"
#include "output.h"
#include "shell.h"
#include "trx/trx_api.h"

namespace trx {
namespace {

struct Arguments {
  int count;
  char **words;
};

/// Take a leading adapter ID off the arguments.
/// @return the exit status when the ID cannot be one
std::optional<int> takeAdapterId(Arguments &arguments) {
  if (arguments.count < 2 || !isNumber(arguments.words[1])) return std::nullopt;
  long typed = std::strtol(arguments.words[1], nullptr, 10);
  // The ID is kept to 32 signed bits: one that does not fit counts as negative.
  auto value = static_cast<int32_t>(typed);
  if (value != typed || zeroBased(value) < 0) {
    std::printf("Adapter ID %d is not exist\n", value);
    return 0;
  }
  // Cut to 8 bits before it is compared with the adapters found: an adapter index has 8 bits, and 256 is
  // adapter 0.
  gCurrentAdapter = static_cast<uint8_t>(zeroBased(value));
  gSpecificAdapterFlag = 1;
  --arguments.count;
  ++arguments.words;
  return std::nullopt;
}

/// Serve `-output FILE`, wherever it stands among the words, and turn its word into the option with
/// code 1, which every command accepts and ignores.
/// @return the exit status when the file cannot be opened
std::optional<int> redirectOutput(const Arguments &arguments) {
  for (int i = 1; i < arguments.count - 1; ++i) {
    if (strcasecmp(arguments.words[i], "-output") != 0) continue;
    const char *path = arguments.words[i + 1];
    if (!redirectStream(path)) {
      std::fprintf(stderr, "Unable to open output file '%s': %s\n", path, std::strerror(errno));
      return 1;
    }
    arguments.words[i][1] = '\001';
    break;
  }
  return std::nullopt;
}

/// Fill the summary of every adapter.
/// @return the exit status when the chosen adapter is not there
std::optional<int> loadSummaries() {
  g_pAdInfos.assign(gNumAdaptersFound, NVME_Adapter_Info{});
  TRX_U32 status = 0;
  for (uint8_t i = 0; i < gNumAdaptersFound; ++i) {
    status = TRX_Adapter_GetSimpleInfo(i, &g_pAdInfos[i]);
    if (status != 0) {
      std::fprintf(stream, "\nUnable to get info of NVMe Controller %d\n", userCounting(i));
    }
  }
  if (gSpecificAdapterFlag && gCurrentAdapter >= gNumAdaptersFound) {
    std::printf("Adapter ID %d is not exist\n", userCounting(gCurrentAdapter));
    return static_cast<int>(status);
  }
  return std::nullopt;
}

void reportNoAdapter() {
  gSysDenied = TRX_IsSysDenied();
  std::fputs(gSysDenied ? "NVMe Controller is found, but need administrator permission.\n"
                        : "No NVMe Controller is found.\n",
             stream);
}

/// Answer the words that ask nothing of any controller.
/// @return whether there was one
bool answeredAtOnce(const Arguments &arguments) {
  if (arguments.count < 2) return false;
  std::string_view word = arguments.words[1];
  if (word == "--help" || word == "-h") {
    printOverview();
  } else if (word == "--version") {
    printVersions();
  } else {
    return false;
  }
  return true;
}

int finish(int status) {
  TRX_Final();
  g_pAdInfos.clear();
  return status;
}

int runOnce(const Arguments &arguments) {
  const char *word = arguments.words[1];
  bool needsAdapter = std::strcmp(word, "help") != 0 && std::strcmp(word, "version") != 0;
  if (gNumAdaptersFound == 0 && needsAdapter) return 0;
  return finish(cmdDispatcher(arguments.count - 1, arguments.words + 1));
}

int runInteractive() {
  std::fprintf(stream, "CLI Version: %s   API Version: %s\n", CLI_VERSION, TRX_Get_Version());
  std::fputs("Welcome to NVMe Command Line Interface.\n\n", stream);
  if (gNumAdaptersFound == 0) return 0;
  runShell();
  return finish(0);
}

int run(Arguments arguments) {
  g_oneBaseMode = TRX_Adapter_GetOneBaseMode();
  if (auto status = takeAdapterId(arguments)) return *status;
  if (auto status = redirectOutput(arguments)) return *status;
  useCommandTables();
  if (answeredAtOnce(arguments)) return 0;

  TRX_Init();
  gNumAdaptersFound = TRX_Adapter_GetCount();
  if (gNumAdaptersFound == 0) {
    reportNoAdapter();
  } else if (auto status = loadSummaries()) {
    return *status;
  }
  return arguments.count >= 2 ? runOnce(arguments) : runInteractive();
}

}  // namespace
}  // namespace trx

int main(int argc, char **argv) {
  trx::occupyStandardDescriptors();
  trx::watchOutput();
  int status = trx::run({argc, argv});
  // Output that could not be written turns success into failure.
  return trx::closeOutput() || status != 0 ? status : 1;
}
