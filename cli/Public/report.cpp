// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/report.h"

#include <algorithm>
#include <cstdio>

#include "Public/common.h"
#include "Public/exchange.h"
#include "trx/trx_api.h"

namespace trx {

LineOptions gLine;
bool (*gGiveDocument)(const std::string &document) = nullptr;

namespace {

struct Message {
  Severity severity;
  std::string text;
};

/// All that a line has told so far.
struct Report {
  Document data;
  std::vector<Message> messages;
  Outcome outcome = Outcome::Ok;
  State state = State::Unknown;
  bool wrongLine = false;
  bool helped = false;    ///< the help was asked for
  bool oneByOne = false;  ///< it has documents of its own
  Failure status;
};

Report gReport;
std::function<std::string()> gDocumentNow;
bool gTried = false;
Document *gGathered = nullptr;  ///< of `Gather`
int gAside = 0;
int gForgiving = 0;
Severity gSeverity = Severity::Info;

/// Print with a severity, for those who gather messages from what is printed.
int print(Severity severity, const char *format, va_list arguments) {
  gSeverity = severity;
  int length = std::vfprintf(stream, format, arguments);
  gSeverity = Severity::Info;
  return length;
}

}  // namespace

int printWrong(const char *format, va_list arguments) { return print(Severity::Error, format, arguments); }

void tell(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  print(Severity::Info, format, arguments);
  va_end(arguments);
}

int tellFailed(const char *format, ...) {
  if (gReport.outcome == Outcome::Ok && gAside == 0) note(Outcome::Failed);
  va_list arguments;
  va_start(arguments, format);
  int length = print(Severity::Error, format, arguments);
  va_end(arguments);
  return length;
}

int tellWrong(Outcome outcome, const char *format, ...) {
  note(outcome);
  va_list arguments;
  va_start(arguments, format);
  int length = print(Severity::Error, format, arguments);
  va_end(arguments);
  return length;
}

void tellWarning(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  print(Severity::Warning, format, arguments);
  va_end(arguments);
}

void noteUsage() { gReport.wrongLine = true; }

void note(Outcome outcome) { gReport.outcome = worseOf(gReport.outcome, outcome); }

void note(const Failure &failure) {
  if (!failure || gAside > 0) return;
  if (!gReport.status || worseOf(gReport.outcome, failure.outcome) != gReport.outcome)
    gReport.status = failure;
  note(failure.outcome);
}

void noteListing(size_t read, const Failure &worst) {
  if (!worst) return;
  if (read == 0) return note(worst);
  gReport.outcome = Outcome::Partial;
}

Outcome outcomeNow() { return gReport.wrongLine ? Outcome::Usage : gReport.outcome; }

void tellState(State state) { gReport.state = state; }
State stateTold() { return gReport.state; }

Aside::Aside() { ++gAside; }
Aside::~Aside() { --gAside; }

Forgiving::Forgiving() { ++gForgiving; }
Forgiving::~Forgiving() { --gForgiving; }

bool gathersFacts() { return gLine.json || gGathered; }

Object data() { return (gGathered ? *gGathered : gReport.data).root(); }

void tellText(const std::string &text) {
  gReport.helped = true;
  if (gathersFacts()) data().putText("text", text);
}

Gather::Gather(Document &into) : before_(gGathered) { gGathered = &into; }
Gather::~Gather() { gGathered = before_; }

Trial::Trial() : messages_(gReport.messages.size()) { gTried = true; }

Trial::~Trial() {
  gTried = false;
  if (gReport.wrongLine || gReport.helped) return;
  gReport.messages.resize(messages_);
  gReport.data = {};
  gReport.outcome = Outcome::Ok;
  if (!noteStart()) note(Outcome::NotFound);
}

bool isTried() { return gTried; }

void beginReport(LineOptions options) {
  gLine = std::move(options);
  gReport = {};
  gAside = gForgiving = 0;
  forgetExchange();
}

void noteMessage(Severity severity, const std::string &text) {
  if (text.find_first_not_of(" \t\r") == std::string::npos) return;
  if (gForgiving > 0) severity = std::min(severity, Severity::Warning);
  gReport.messages.push_back({severity, text});
}

Severity severityNow() { return gSeverity; }

OneByOne::OneByOne(std::function<std::string()> document) { gDocumentNow = std::move(document); }
OneByOne::~OneByOne() { gDocumentNow = nullptr; }

void tellOneByOne() { gReport.oneByOne = true; }
bool toldOneByOne() { return gReport.oneByOne; }

bool tellNow() {
  // Every stream: what is listened to has the one behind it.
  if (!gathersFacts()) return std::fflush(nullptr) == 0;
  const std::string document = gDocumentNow ? gDocumentNow() : std::string();
  gReport.data = {};
  gReport.messages.clear();
  return gGiveDocument && gGiveDocument(document);
}

std::string documentOf(const LineHead &head) {
  constexpr const char *kSeverities[] = {"info", "warning", "error"};
  Document document;
  Object root = document.root();
  root.put("format_version", std::string("1.0"));
  Object tool = root.object("tool");
  tool.put("name", std::string("trx_cli"));
  tool.put("version", std::string(CLI_VERSION));
  tool.put("api_version", std::string(TRX_Get_Version()));
  root.array("command");
  for (const std::string &word : head.command) root.appendText("command", word);
  root.put("adapter", Nothing{});
  if (head.hasAdapter) {
    Object adapter = root.object("adapter");
    adapter.put("id", int64_t{head.adapterId});
    adapter.put("device", head.device);
  }
  root.put("outcome", std::string(wordOf(outcomeNow())));
  root.put("exit_status", static_cast<int64_t>(outcomeNow()));
  root.put("status", gReport.status);
  document.adopt("data", std::move(gReport.data));
  root.array("messages");
  for (const Message &message : gReport.messages) {
    Object entry = root.append("messages");
    entry.put("severity", std::string(kSeverities[static_cast<size_t>(message.severity)]));
    entry.put("text", message.text);
  }
  return document.line();
}

}  // namespace trx
