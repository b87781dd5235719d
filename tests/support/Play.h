// SPDX-License-Identifier: GPL-3.0-or-later
// Lines and the whole of what each leads to, as rows of a test.
#ifndef TRX_TESTS_PLAY_H
#define TRX_TESTS_PLAY_H

#include <gtest/gtest.h>

#include <regex>

#include "CliSession.h"
#include "Public/common.h"

namespace trx::test {

/// Opcode, NSID, the dwords that are not 0 and the length: "op=c2 nsid=1 cdw10=1 cdw14=6 len=4096"; of
/// another adapter than vmhba2 its name before that.
inline std::string brief(const std::string &request) {
  static const std::regex noise(
      "^vmhba2 admin |( cdw\\d+=0| nsid=0| len=0)(?= |$)| dir=\\d| crc=\\S+| out=\\S*");
  return std::regex_replace(request, noise, "");
}

/// All that a line writes (on `stream`, standard output and standard error, in this order), its result,
/// and the requests it sends: "...=> 0\n< op=6 cdw10=1 len=4096\n". How often a transfer was polled is
/// left out.
inline std::string transcript(CliSession &session, const std::string &line) {
  static const std::regex polls("flash NVMe Controller \\d+, percentage \\d+\n");
  session.requests();
  CommandResult result = session.run(line);
  std::string text = std::regex_replace(result.out, polls, "") + result.library + result.err;
  text += "=> " + std::to_string(result.status) + "\n";
  for (const std::string &request : session.requests()) text += "< " + brief(request) + "\n";
  return text;
}

/// Requests since the last call, in brief. The reading of the namespace table, with which `ns` begins, is
/// left out.
inline Words sentBy(CliSession &session) {
  Words told;
  for (const std::string &request : session.requests()) {
    std::string text = brief(request);
    if (!text.ends_with("cdw12=e5 len=4096") && text.find("op=6 nsid=") == text.npos) told.push_back(text);
  }
  return told;
}

/// A line, its result, what it writes on `stream`, and the requests it sends.
struct Row {
  std::string line;
  int32_t status;
  std::string out;
  Words sent = {};
  int base = 0;         ///< what users count from
  bool traced = false;  ///< with debug output on
};

inline void expectRow(CliSession &session, const Row &row) {
  SCOPED_TRACE("[" + row.line + "]");
  g_oneBaseMode = static_cast<uint8_t>(row.base);
  dbg_enable = row.traced;
  CommandResult result = session.run(row.line);
  EXPECT_EQ(result.status, row.status);
  EXPECT_EQ(result.out, row.out);
  EXPECT_EQ(sentBy(session), row.sent);
}

inline void expectRows(CliSession &session, const std::vector<Row> &rows) {
  for (const Row &row : rows) expectRow(session, row);
  EXPECT_EQ(session.host().violations(), "");
}

/// Lines that are refused with a line of text and result 0; nothing is sent.
inline void expectRefused(CliSession &session, const std::vector<std::pair<std::string, std::string>> &rows) {
  for (const auto &[line, text] : rows) expectRow(session, {line, 0, text + "\n"});
}

struct Step {
  std::string line;  ///< "@" stands for the host's directory; "!" begins a verb of trx_sim
  std::string transcript;
};

inline void play(CliSession &session, const std::vector<Step> &steps) {
  SimHost &host = session.host();
  for (const Step &step : steps) {
    const std::string line = host.placed(step.line);
    if (line[0] == '!')
      EXPECT_EQ(host.sim(line.substr(1)).status, 0) << line;
    else
      EXPECT_EQ(transcript(session, line), host.placed(step.transcript)) << line;
  }
}

}  // namespace trx::test

#endif  // TRX_TESTS_PLAY_H
