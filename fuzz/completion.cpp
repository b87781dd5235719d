// SPDX-License-Identifier: GPL-3.0-or-later
// The text in front of the cursor, up to a NUL, then what the host answers: ids are looked up.
#include "completion.h"

#include "present.h"
#include "session.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Input input(data, size);
  const std::string line = input.textUpTo('\0');
  const fuzz::Session session(input);
  trx::forgetPresentIds();
  const trx::Completion found = trx::complete(line);
  fuzz::require(!found.path || found.words.empty());
  for (const std::string &word : found.words) fuzz::require(!word.empty());
  fuzz::require(trx::complete(line).words == found.words);
  return 0;
}
