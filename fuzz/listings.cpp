// SPDX-License-Identifier: GPL-3.0-or-later
// A byte that chooses the listing, then what the host answers.
#include <iterator>

#include "session.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const char *const kListings[] = {"info -o hba",
                                          "info -o hba -i 1",
                                          "info -o pd",
                                          "info -o pd -i 3",
                                          "info -o vd",
                                          "info -o vd -i 2",
                                          "info -o ns",
                                          "info -o ns -i 1",
                                          "info -o ns -t vd",
                                          "info -o ns -t vd -v 1",
                                          "smart -i 0",
                                          "event",
                                          "event -c 7",
                                          "log -a show",
                                          "get -o hba",
                                          "version",
                                          "dumphba -a show",
                                          "vpdread -o 0 -l 512",
                                          "mi_passthruread -i 0",
                                          "flash -o hba -q firmware",
                                          "flash -o pd -i 1 -q firmware",
                                          "pcie -i 0"};
  fuzz::Input input(data, size);
  const char *listing = kListings[input.byte() % std::size(kListings)];
  fuzz::Session(input).run(listing);
  return 0;
}
