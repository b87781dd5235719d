// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>

#include "launcher/verbs.h"

namespace {

/// A file that is opened while descriptor 1 is closed would become it, and receive what is printed.
void occupyStandardDescriptors() {
  for (int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) continue;
    // Open the other way round, so that its use goes on to fail.
    if (open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) != descriptor) return;
  }
}

}  // namespace

int main(int argc, char **argv) {
  occupyStandardDescriptors();
  std::vector<std::string> words(argv + 1, argv + argc);
  std::string_view self = argc > 0 ? argv[0] : "trx_sim";
  // The directory that `run` puts in front of PATH holds a link of this program by the name of lspci.
  if (self.substr(self.rfind('/') + 1) == "lspci") {
    // Another listing than the host's would teach a program what no host tells it.
    if (words != std::vector<std::string>{"-p"})
      return std::fprintf(stderr, "lspci: only 'lspci -p' is simulated\n") < 0 ? 2 : 1;
    words = {"lspci"};
  }
  return sim::launch(words);
}
