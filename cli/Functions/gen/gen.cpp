// SPDX-License-Identifier: GPL-3.0-or-later
#include <limits>
#include <string_view>
#include <vector>

#include "Functions/handlers.h"
#include "Public/files.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {

const char gen_help[] = R"(
gen -t <createns|attachns> [--nsze <blocks>] [--ncap <blocks>] [--flbas <value>]
    [--dps <value>] [--nmic <value>] [--list <controller ids>] [-h]

Options:
    -t, --type <createns|attachns>
        createns, data of the namespace management command (create)
        attachns, controller list of the namespace attachment command
    --nsze <blocks>
        Namespace size in logical blocks, decimal or hexadecimal (0x), only for createns.
    --ncap <blocks>
        Namespace capacity in logical blocks, only for createns.
    --flbas <value>
        Formatted LBA size, only for createns.
    --dps <value>
        Data protection type settings, only for createns.
    --nmic <value>
        Namespace multi-path and sharing capabilities, only for createns.
    --list <controller ids>
        Comma-separated controller ids, at most 2047, only for attachns.
    -h, --help

Examples:
    gen -t createns --nsze=0x100000 --ncap=0x100000 --flbas=0
    Write the data that creates a namespace of 1048576 blocks into the file prp_data.

    gen -t attachns --list=0,1
    Write the controller list of controllers 0 and 1 into the file prp_data.

)";

namespace {

constexpr char kFileName[] = "prp_data";
constexpr size_t kMostControllers = 2047;

enum class Type { CreateNamespace, AttachNamespace };

constexpr Word<Type> kTypes[] = {{"createns", Type::CreateNamespace}, {"attachns", Type::AttachNamespace}};

struct Options {
  Counted<Type> type;
  Counted<uint64_t> nsze, ncap, flbas, dps, nmic;
  Counted<std::vector<TRX_U16>> controllers;
};

template <typename Field>
bool readField(Counted<uint64_t> &into, const char *text) {
  std::optional<uint64_t> number = hexOrDecimal(text);
  return number && *number <= std::numeric_limits<Field>::max() && into.set(*number);
}

bool readControllers(Options &o, const char *text) {
  std::vector<TRX_U16> ids;
  std::string_view rest = text;
  for (bool more = true; more;) {
    size_t comma = rest.find(',');
    std::string word(rest.substr(0, comma));
    std::optional<int32_t> id = word.empty() ? std::nullopt : decimalUpTo(UINT16_MAX, word.c_str());
    if (!id) return complain("--list : controller ids should be a number\n");
    ids.push_back(static_cast<TRX_U16>(*id));
    more = comma != std::string_view::npos;
    if (more) rest.remove_prefix(comma + 1);
  }
  if (ids.size() > kMostControllers)
    return complain("--list : at most %zu controller ids\n", kMostControllers);
  return o.controllers.set(std::move(ids));
}

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"type", 't', Argument::Required, [](Options &o, const char *text) {
       return choose(o.type, text, kTypes) || complain("-t : invalid type '%s'\n", text); }},
    {"nsze", '0', Argument::Required, [](Options &o, const char *text) {
       return readField<uint64_t>(o.nsze, text) || complain("--nsze : invalid nsze value '%s'\n", text); },
     Form::LongOnly},
    {"ncap", '1', Argument::Required, [](Options &o, const char *text) {
       return readField<uint64_t>(o.ncap, text) || complain("--ncap : invalid ncap value '%s'\n", text); },
     Form::LongOnly},
    {"flbas", '2', Argument::Required, [](Options &o, const char *text) {
       return readField<TRX_U8>(o.flbas, text) || complain("--flbas : invalid flbas value '%s'\n", text); },
     Form::LongOnly},
    {"dps", '3', Argument::Required, [](Options &o, const char *text) {
       return readField<TRX_U8>(o.dps, text) || complain("--dps : invalid dps value '%s'\n", text); },
     Form::LongOnly},
    {"nmic", '4', Argument::Required, [](Options &o, const char *text) {
       return readField<TRX_U8>(o.nmic, text) || complain("--nmic : invalid nmic value '%s'\n", text); },
     Form::LongOnly},
    {"list", '5', Argument::Required, readControllers, Form::LongOnly},
};
// clang-format on

/// Host software specified fields of Namespace Management (NVMe base standard).
void fillNamespace(const Options &o, Page &data) {
  std::memcpy(data.bytes, &o.nsze.value, 8);
  std::memcpy(data.bytes + 8, &o.ncap.value, 8);
  data.bytes[26] = static_cast<TRX_U8>(o.flbas.value);
  data.bytes[29] = static_cast<TRX_U8>(o.dps.value);
  data.bytes[30] = static_cast<TRX_U8>(o.nmic.value);
}

/// Controller List (NVMe base standard): a count, then so many identifiers.
void fillControllers(const std::vector<TRX_U16> &ids, Page &data) {
  auto count = static_cast<TRX_U16>(ids.size());
  std::memcpy(data.bytes, &count, sizeof count);
  if (!ids.empty()) std::memcpy(data.bytes + sizeof count, ids.data(), ids.size() * sizeof ids[0]);
}

bool write(const Page &data) {
  CommandFile file;
  return file.openOrComplain(kFileName, "wb") && file.write_file(data.bytes, sizeof data.bytes) &&
         file.close_file();
}

}  // namespace

int32_t doGen(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto result = readOptions(argc, argv, row, kOptions, o, 0, ParserErrorHelp::Yes)) return *result;
  if (anyRepeated(o.type, o.nsze, o.ncap, o.flbas, o.dps, o.nmic, o.controllers)) return complainDuplicate();
  if (!o.type.given()) return complainRequired(argv[0], 't', 0);

  Page page;
  if (o.type.value == Type::CreateNamespace) {
    fillNamespace(o, page);
  } else {
    fillControllers(o.controllers.value, page);
  }
  data().put("file", std::string(kFileName));
  listBytes(page.bytes);
  if (gLine.dryRun) {
    data().array("would_send");
    tell("Would write file '%s'.\nDry run: nothing was sent.\n", kFileName);
    return 0;
  }
  if (!write(page)) return 1;
  tell("cmd success\n");
  return 0;
}

}  // namespace trx
