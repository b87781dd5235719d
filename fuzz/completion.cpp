// SPDX-License-Identifier: GPL-3.0-or-later
// The text in front of the cursor.
#include "completion.h"

#include "Functions/commandTables.h"
#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  trx::useCommandTables();
  const trx::Completion found = trx::complete(std::string(data, data + size));
  fuzz::require(!found.path || found.words.empty());
  for (const std::string &word : found.words) fuzz::require(!word.empty());
  return 0;
}
