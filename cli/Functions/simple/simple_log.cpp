// SPDX-License-Identifier: GPL-3.0-or-later
// Switch the controller's SPI log on and off, or read it out.
#include <algorithm>

#include "Functions/handlers.h"
#include "Functions/simple/spi_log.h"
#include "Public/exchange.h"
#include "Public/files.h"
#include "Public/listing.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {

const char log_help[] = R"(
log <-a show [--outputfile=log.txt] |on|off > [-h]

Options:
    -a, --action <show|on|off>
        show - Read the SPI log and display it
        on   - Switch the SPI log on
        off  - Switch the SPI log off
    --outputfile=<file>
        File that the SPI log is saved in as well, only for action show.
    -h, --help

Examples:
    log -a on
    Switch the SPI log of current NVMe Controller on.

    log -a show --outputfile=log.txt
    Display the SPI log of current NVMe Controller and save it in log.txt.

)";

namespace {

enum class Action { None, Show, On, Off };
constexpr Word<Action> kActions[] = {{"show", Action::Show}, {"on", Action::On}, {"off", Action::Off}};

struct Options {
  Counted<Action> action;
  CommandFile file;
  bool fileFailed = false;
};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"action", 'a', oneOf<kActions>(), [](Options &o, const char *text) {
       return choose(o.action, text, kActions) || complain("-a : invalid action '%s'.\n", text); }},
    {"outputfile", '1', kPath, [](Options &o, const char *text) {
       o.fileFailed = !o.file.openOrComplain(pathArgument(text), "wb");
       return !o.fileFailed; }, Form::LongOnly},
};
// clang-format on

ControllerRequest switchLog(bool on) { return ControllerRequest::function(0xFE, 3).set(14, on ? 1 : 0); }
ControllerRequest logState() { return ControllerRequest::function(0xFE, 2).set(10, 0x3FF); }
ControllerRequest logPiece() { return ControllerRequest::function(0xFE, 0).set(10, 0x3FF); }

void complainUnreadable() {
  // Zero-based also for those who count from 1; scripts know the line.
  tellFailed("\nUnable to get SPI log from NVMe Controller %d\n", gCurrentAdapter);
}

/// Whether the log is on: not 0. A failed transfer answers its status, after a message.
TRX_U32 getStatus() {
  ControllerReply reply;
  TRX_U32 status = logState().fetch(gCurrentAdapter, reply);
  if (status != 0) {
    complainUnreadable();
    return status;
  }
  const TRX_U8 state = reply.isSigned() ? reply.payload()[0] : 0;
  if (!lastFailure()) {
    data().put("log_on", state != 0);
    // There is no log to show, which the controller says by this alone.
    if (state == 0) note(Outcome::Refused);
  }
  return state;
}

std::span<const uint8_t> bytesOf(const std::string &text) {
  return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

/// The log for machines: its lines, in which bytes that are no text are replaced. Its bytes then stand beside
/// it.
class Lines {
 public:
  Lines() {
    if (gathersFacts()) data().array("lines");
  }
  ~Lines() {
    if (!rest_.empty()) data().appendText("lines", rest_);
    if (!std::ranges::all_of(all_, isText)) data().put("lines_hex", Bytes{bytesOf(all_)});
  }
  Lines(const Lines &) = delete;
  Lines &operator=(const Lines &) = delete;

  void add(const std::string &piece) {
    all_ += piece;
    rest_ += piece;
    for (size_t end; (end = rest_.find('\n')) != std::string::npos; rest_.erase(0, end + 1))
      data().appendText("lines", rest_.substr(0, end));
  }

 private:
  static bool isText(char c) { return c == '\n' || (c >= 0x20 && c < 0x7F); }

  std::string all_, rest_;
};

void showPiece(Lines &lines, const std::string &text) {
  if (gathersFacts()) return lines.add(text);
  writeDeviceText(bytesOf(text));
}

int32_t show(CommandFile &file) {
  // A state that could not be read is no reason not to try the log.
  if (getStatus() == 0) {
    complainUnreadable();
    return 1;
  }
  // 64 MiB, more than an SPI flash holds: a controller that never says "last" must not hold us.
  constexpr unsigned kMostPieces = 16384;
  ControllerReply reply;
  Lines lines;
  char before = '\0';
  for (unsigned i = 0;; ++i) {
    if (i == kMostPieces) {
      tellFailed("SPI log does not end\n");
      return 1;
    }
    TRX_U32 status = logPiece().trace().fetch(gCurrentAdapter, reply);
    if (status != 0) {
      complainUnreadable();
      return static_cast<int32_t>(status);
    }
    SpiLogPiece piece(std::span(reply.page().bytes).subspan(ControllerReply::kPayloadOffset), before);
    if (!piece.isWhole()) {
      tellFailed("Error SPI data length: %u\n", piece.length());
      return 1;
    }
    showPiece(lines, piece.text());
    if (file.isOpen() && !file.write_file(piece.text().data(), piece.text().size())) return 1;
    if (!piece.text().empty()) before = piece.text().back();
    if (i == 0 && piece.length() == 0) {
      tell("No SPI log\n");
      break;
    }
    if (i > 0 && piece.isLast()) break;
  }
  if (!file.close_file()) return 1;
  tell("cmd success\n");
  return 0;
}

int32_t switchTo(bool on) {
  int32_t status = sendAndTell(switchLog(on), {"cmd success\n", "cmd failed.\n"});
  if (status == 0) data().put("log_on", on);
  return status;
}

}  // namespace

constexpr OptionList log_options = optionList<kOptions>();

int32_t doSLog(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 0)) return o.fileFailed ? 1 : *end;
  if (o.action.repeated()) return complainDuplicate();
  switch (o.action.value) {
    case Action::Show:
      return show(o.file);
    case Action::On:
    case Action::Off:
      return switchTo(o.action.value == Action::On);
    case Action::None:
      break;
  }
  complain("Error action!\n");
  return 1;
}

}  // namespace trx
