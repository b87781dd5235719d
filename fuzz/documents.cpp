// SPDX-License-Identifier: GPL-3.0-or-later
// A byte that chooses what is told, one of modes, then what the records hold and what the host answers.
// Another library than the one that writes documents reads them: each is one line of JSON, in UTF-8, without
// a key that stands twice in an object.
#include <jansson.h>

#include <cmath>
#include <cstring>
#include <iterator>
#include <memory>
#include <string_view>

#include "Functions/get/get.h"
#include "Functions/info/info.h"
#include "Functions/smart/smart.h"
#include "Functions/standard/identify_print.h"
#include "Public/report.h"
#include "line.h"
#include "session.h"

namespace {

using fuzz::require;

template <typename Record>
Record record() {
  Record bytes{};
  auto taken = fuzz::platform().input.take(sizeof bytes);
  std::memcpy(&bytes, taken.data(), taken.size());
  return bytes;
}

/// What prints records, without the request that brings them.
constexpr void (*kPrinters[])() = {
    [] { trx::Adapter_PrintInfo(1, record<NVME_Adapter_Info>()); },
    [] { trx::HD_PrintInfo(record<NVME_PD_Info>(), true, {record<NVME_VD_Info>()}); },
    [] {
      trx::Listing volume(trx::kVolumeWidth, trx::kVolumes);
      trx::LD_PrintInfo(volume, record<NVME_VD_Info>());
      trx::VD_PrintBGAStatus(volume, record<NVME_BGA_Status>());
    },
    [] { trx::NS_PrintInfo(record<NVME_NS_Info>(), true); },
    [] { trx::hbaGet_printf(0, record<NVME_Adapter_Config>()); },
    [] { trx::showLogSmartInfo(record<std::array<TRX_U8, trx::kSmartLogBytes>>()); },
    [] { trx::printIdentifyController(record<std::array<TRX_U8, TRX_PAGE_SIZE>>()); },
};

constexpr const char *kLines[] = {"info -o hba",
                                  "info -o pd",
                                  "info -o pd -i 3",
                                  "info -o vd",
                                  "info -o ns",
                                  "info -o ns -t vd -v 1",
                                  "smart -i 0",
                                  "event",
                                  "log -a show",
                                  "get -o hba",
                                  "dumphba -a show",
                                  "vpdread -o 0 -l 512",
                                  "mi_passthruread -i 0",
                                  "passthru -i 0 -o 2 -r read -d 512 --cdw10=0x7f0002 --showcmd",
                                  "reg -t read -i 1 -a 4",
                                  "pcie -i 0",
                                  "flash -o pd -i 1 -q firmware",
                                  "adapter",
                                  "--dry-run vd -a delete -i 1",
                                  "--expect name=a\\,b,status=degrade vd -a delete -i 1",
                                  "--dry-run ns -a detach -i 1",
                                  "--expect model=x reset -t device -i 1"};

std::string documentOf(const std::string &words) {
  std::vector<char> text = fuzz::exactText(words);
  std::vector<char *> tokens;
  for (char *word = std::strtok(text.data(), " "); word; word = std::strtok(nullptr, " "))
    tokens.push_back(word);
  const trx::LineStart start = trx::startOfLine(tokens);
  int32_t status = 0;
  return trx::documentOfCommand(start, trx::Tokens(tokens).subspan(start.count), status);
}

bool isKey(std::string_view key) {
  return !key.empty() &&
         key.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_") == std::string_view::npos;
}

void check(const json_t *value) {
  const char *key;
  size_t index;
  json_t *part;
  json_object_foreach(const_cast<json_t *>(value), key, part) {
    require(isKey(key));
    check(part);
  }
  json_array_foreach(value, index, part) check(part);
  if (json_is_real(value)) require(std::trunc(json_real_value(value)) == json_real_value(value));
}

void check(const std::string &document) {
  require(document.find('\n') == document.size() - 1);
  // Its integers have 63 bits, and ours 64.
  const std::unique_ptr<json_t, decltype(&json_decref)> read(
      json_loadb(document.data(), document.size(), JSON_REJECT_DUPLICATES | JSON_DECODE_INT_AS_REAL, nullptr),
      json_decref);
  require(json_is_object(read.get()));
  check(read.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Input input(data, size);
  const size_t choice = input.byte() % (std::size(kPrinters) + std::size(kLines));
  fuzz::Session session(input);
  if (choice >= std::size(kPrinters)) {
    check(documentOf(std::string("--json ") + kLines[choice - std::size(kPrinters)]));
    return 0;
  }
  trx::beginReport({});
  trx::Document document;
  const trx::Gather gathering(document);
  kPrinters[choice]();
  check(document.line());
  return 0;
}
