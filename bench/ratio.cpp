// SPDX-License-Identifier: GPL-3.0-or-later
// Runs two commands in turn and prints the ratio of their processor times (user and system, children
// included) and of their peak memory. Pairs, not totals: the machine's speed drifts, a pair shares it.
//
//   ratio RUNS 'COMMAND A' 'COMMAND B'
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

struct Cost {
  double seconds;
  double kibibytes;
};

double seconds(const timeval &time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

Cost costOf(const char *command) {
  pid_t pid = fork();
  if (pid == 0) {
    int null = open("/dev/null", O_RDWR);
    dup2(null, STDIN_FILENO);
    dup2(null, STDOUT_FILENO);
    execl("/bin/sh", "sh", "-c", command, nullptr);
    _exit(127);
  }
  int status;
  rusage usage;
  if (wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) || WEXITSTATUS(status) == 127) {
    std::fprintf(stderr, "ratio: '%s' did not run\n", command);
    std::exit(1);
  }
  return {seconds(usage.ru_utime) + seconds(usage.ru_stime), static_cast<double>(usage.ru_maxrss)};
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char **argv) {
  int runs = argc == 4 ? std::atoi(argv[1]) : 0;
  if (runs < 1) {
    std::fprintf(stderr, "usage: ratio RUNS 'COMMAND A' 'COMMAND B'\n");
    return 2;
  }
  costOf(argv[2]);
  costOf(argv[3]);
  std::vector<double> a, b, ratio, memory;
  for (int i = 0; i < runs; ++i) {
    Cost costA = costOf(argv[2]);
    Cost costB = costOf(argv[3]);
    a.push_back(costA.seconds);
    b.push_back(costB.seconds);
    ratio.push_back(costA.seconds / costB.seconds);
    memory.push_back(costA.kibibytes / costB.kibibytes);
  }
  std::printf("cpu A %.4f s, cpu B %.4f s, ratio A/B %.3f, peak memory A/B %.2f (medians of %d pairs)\n",
              median(a), median(b), median(ratio), median(memory), runs);
}
