// SPDX-License-Identifier: GPL-3.0-or-later
// What reached the controllers, short enough for a row of a test.
#ifndef TRX_TESTS_REQUESTS_H
#define TRX_TESTS_REQUESTS_H

#include <regex>

#include "CliSession.h"

namespace trx::test {

/// Opcode, NSID, the dwords that are not 0 and the length: "op=c2 nsid=1 cdw10=1 cdw14=6 len=4096".
inline std::string brief(const std::string &request) {
  static const std::regex noise(
      "^\\S+ admin |( cdw\\d+=0| nsid=0| len=0)(?= |$)| dir=\\d| crc=\\S+| out=\\S*");
  return std::regex_replace(request, noise, "");
}

inline Words briefRequests(CliSession &session) {
  Words lines = session.requests();
  for (std::string &line : lines) line = brief(line);
  return lines;
}

}  // namespace trx::test

#endif  // TRX_TESTS_REQUESTS_H
