// SPDX-License-Identifier: GPL-3.0-or-later
// What a line tells: lines for people, facts for machines, and how it ended. Handlers say everything
// through here; which of it is shown depends on the options before the command.
#ifndef TRX_CLI_REPORT_H
#define TRX_CLI_REPORT_H

#include <cstdarg>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Public/document.h"
#include "Public/outcome.h"

namespace trx {

/// The options before the command. They hold for a line.
struct LineOptions {
  bool json = false;
  bool strict = false;
  bool dryRun = false;
  std::optional<std::string> expect;
};
extern LineOptions gLine;

// ---- how it goes ----

enum class Severity : uint8_t { Info, Warning, Error };

/// "This went well": print a line on `stream`.
[[gnu::format(printf, 1, 2)]] void tell(const char *format, ...);

/// "This went wrong": print a line on `stream`. How is known from the exchange that failed; when none did,
/// the outcome is `Failed`.
/// @return the number of characters
[[gnu::format(printf, 1, 2)]] int tellFailed(const char *format, ...);

/// The same where no exchange tells how.
[[gnu::format(printf, 2, 3)]] int tellWrong(Outcome outcome, const char *format, ...);

/// The same for a list of arguments, and the outcome is left as it is.
int printWrong(const char *format, va_list arguments);

/// A line about what is not as it should be, and does not stop anything.
[[gnu::format(printf, 1, 2)]] void tellWarning(const char *format, ...);

/// The line is wrong in itself: usage, whatever else holds.
void noteUsage();

/// Something went wrong. The status of the document is that of the worst that has one.
void note(const Failure &failure);
void note(Outcome outcome);

/// A listing is at its end.
/// @param worst of the objects that would not be read
void noteListing(size_t read, const Failure &worst);

Outcome outcomeNow();

/// The state that a monitor is told by the exit status of the text form, whatever the outcome. The values are
/// those of the Monitoring Plugins guidelines.
enum class State : uint8_t { Ok = 0, Warning = 1, Critical = 2, Unknown = 3 };
void tellState(State state);
/// `Unknown` until it is told.
State stateTold();

/// While one lives, exchanges that fail are their caller's to judge: they leave the outcome as it is.
class Aside {
 public:
  Aside();
  ~Aside();
  Aside(const Aside &) = delete;
  Aside &operator=(const Aside &) = delete;
};

/// One on which nothing depends: what goes wrong is a warning in a document. People read the usual lines.
class Forgiving {
 public:
  Forgiving();
  ~Forgiving();
  Forgiving(const Forgiving &) = delete;
  Forgiving &operator=(const Forgiving &) = delete;

 private:
  Aside aside_;
};

/// Thrown to end a line before its request is sent: by a dry run, by a guard that does not hold, and when
/// somebody interrupts it. What it had to say has been said.
struct LineEnds {};

// ---- facts ----

/// Whether facts are gathered: otherwise lines and listings are printed.
bool gathersFacts();

/// The object `data` of the document. A scratch one where nobody asked for a document.
Object data();

/// A page of text that was asked for: `data.text`.
void tellText(const std::string &text);

/// While it lives, listings are gathered into a document of its own instead of being shown.
class Gather {
 public:
  explicit Gather(Document &into);
  ~Gather();
  Gather(const Gather &) = delete;
  Gather &operator=(const Gather &) = delete;

 private:
  Document *before_;
};

/// A line that is tried where there is no controller: whether it is wrong in itself, and whether it asks for
/// no more than help. Else all that it said is forgotten, and its outcome is why there is none.
class Trial {
 public:
  Trial();
  ~Trial();
  Trial(const Trial &) = delete;
  Trial &operator=(const Trial &) = delete;

 private:
  size_t messages_;  ///< before it
};

/// Whether a line is only tried: nothing is opened for it.
bool isTried();

// ---- a line from its beginning to its end ----

/// Forget the line before. @param inherited options of the line
void beginReport(LineOptions options);

/// A message: text without its line end. `printed` text comes here when a document is made.
void noteMessage(Severity severity, const std::string &text);

/// The severity of text that is printed now.
Severity severityNow();

// ---- documents of a line that has several ----

/// Gives a document away; @return whether it could. Null where a line has one document, or none.
extern bool (*gGiveDocument)(const std::string &document);

/// While it lives, a line can tell documents one by one. @param document of what it has told since the last
class OneByOne {
 public:
  explicit OneByOne(std::function<std::string()> document);
  ~OneByOne();
  OneByOne(const OneByOne &) = delete;
  OneByOne &operator=(const OneByOne &) = delete;
};

/// From here on the line tells documents one by one: only a failure has one at its end.
void tellOneByOne();
bool toldOneByOne();

/// What was told since the last time goes out now: as a document, or as printed. @return whether it could
bool tellNow();

/// What a document begins with.
struct LineHead {
  std::vector<std::string> command;
  bool hasAdapter = false;
  int adapterId = 0;
  std::string device;
};

/// The document of the line. @param exitStatus that of the process or, in a session, of the line
std::string documentOf(const LineHead &head);

}  // namespace trx

#endif  // TRX_CLI_REPORT_H
