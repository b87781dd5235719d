// SPDX-License-Identifier: GPL-3.0-or-later
// Command lines, up to a NUL, then what the host answers.
#include "session.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Input input(data, size);
  std::string text = input.textUpTo('\0');
  fuzz::Input lines(reinterpret_cast<const uint8_t *>(text.data()), text.size());
  fuzz::Session session(input);
  for (unsigned line = 0; line < 8 && !lines.empty(); ++line) {
    if (!session.run(lines.textUpTo('\n'))) break;
  }
  return 0;
}
