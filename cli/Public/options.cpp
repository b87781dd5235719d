// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/options.h"

#include <string>
#include <vector>

#include "Public/getopt.h"
#include "Public/report.h"

namespace trx::detail {
namespace {

constexpr int kOutputCode = 1;

// option::has_arg
enum : int32_t { kNoArgument = 0, kRequiredArgument = 1, kOptionalArgument = 2 };

int32_t longArgument(Argument argument) {
  switch (argument) {
    case Argument::Required:
      return kRequiredArgument;
    case Argument::OptionalWhenLong:
      return kOptionalArgument;
    case Argument::None:
    case Argument::NoneWhenLong:
      break;
  }
  return kNoArgument;
}

std::string shortOptions(std::span<const OptionShape> shapes, HelpOption help) {
  std::string text;
  for (const OptionShape &shape : shapes) {
    if (shape.form == Form::LongOnly) continue;
    text += shape.code;
    if (shape.takes.argument != Argument::None) text += ':';
  }
  text += "\001:";
  if (help == HelpOption::Declared) text += 'h';
  return text;
}

std::vector<option> longOptions(std::span<const OptionShape> shapes, HelpOption help) {
  std::vector<option> table;
  for (const OptionShape &shape : shapes) {
    if (shape.name) table.push_back({shape.name, longArgument(shape.takes.argument), nullptr, shape.code});
  }
  table.push_back({"output", kRequiredArgument, nullptr, kOutputCode});
  if (help == HelpOption::Declared) table.push_back({"help", kNoArgument, nullptr, 'h'});
  table.push_back({nullptr, 0, nullptr, 0});
  return table;
}

}  // namespace

Parsed parseOptions(int argc, char **argv, const Command_Info *row, std::span<const OptionShape> shapes,
                    HelpOption help, ReadOption read, void *context) {
  const std::string letters = shortOptions(shapes, help);
  const std::vector<option> names = longOptions(shapes, help);
  setoptind(1);
  for (;;) {
    int code = getopt_long(argc, argv, letters.c_str(), names.data(), nullptr);
    if (code == -1) return Parsed::Complete;
    if (code == kOutputCode) continue;
    if (code == '?') {
      // Where -h is not declared it is told as illegal, and asks for the help all the same.
      if (help == HelpOption::Declared || optopt != 'h') noteUsage();
      return Parsed::ParserError;
    }
    Parsed step = Parsed::Help;
    for (size_t i = 0; i < shapes.size(); ++i) {
      if (shapes[i].code == code) {
        const char *text = getoptarg();
        step = read(context, i, text ? text : "");
        break;
      }
    }
    if (step == Parsed::Help) {
      // A letter that is answered with the help, and is not -h, is a wrong one.
      if (code != 'h') noteUsage();
      answerHelp(row);
    }
    if (step != Parsed::Complete) return step;
  }
}

}  // namespace trx::detail
