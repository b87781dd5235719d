// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/getopt.h"

#include <getopt.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

/// Takes what this process writes to standard error while it lives.
struct StderrCapture {
  StderrCapture() { stderr = open_memstream(&text, &size); }
  ~StderrCapture() {
    fclose(std::exchange(stderr, saved));
    free(text);
  }
  StderrCapture(const StderrCapture &) = delete;
  std::string all() const { return fflush(stderr) == 0 ? std::string(text, size) : "unreadable"; }
  char *text = nullptr;
  size_t size = 0;
  FILE *saved = stderr;
};

/// Words as a command gets them: writable, and ended by a null pointer.
struct Words {
  explicit Words(std::vector<std::string> words) : text(std::move(words)) {
    for (std::string &word : text) argv.push_back(word.data());
    argv.push_back(nullptr);
  }
  int argc() const { return static_cast<int>(text.size()); }
  std::string order() const {
    std::string line;
    for (size_t i = 0; argv[i] != nullptr; ++i) line += std::string(argv[i]) + ' ';
    return line;
  }
  std::vector<std::string> text;
  std::vector<char *> argv;
};

int32_t flagged = 0;

// Rows are read as tables.
// clang-format off

// "action" and "activate" differ, "colour" and "color" mean the same.
template <class Option>
constexpr Option kLong[] = {
    {"action", 1, nullptr, 'a'}, {"activate", 0, nullptr, 'b'}, {"count", 2, nullptr, 'c'}, {"output", 1, nullptr, 1}, {"colour", 0, nullptr, 'k'},
    {"color", 0, nullptr, 'k'}, {"act", 0, nullptr, 'x'}, {"flag", 0, &flagged, 'f'}, {nullptr, 0, nullptr, 0},
};

enum class Form { Short, Long, LongOnly };

int32_t next(Form form, Words &words, const char *shortopts, int32_t *row = nullptr) {
  return (form == Form::LongOnly ? trx::getopt_long_only : trx::getopt_long)(
      words.argc(), words.argv.data(), shortopts, form == Form::Short ? nullptr : kLong<trx::option>, row);
}

int nextOfC(Form form, Words &words, const char *shortopts, int *row) {
  return (form == Form::LongOnly ? ::getopt_long_only : ::getopt_long)(
      words.argc(), words.argv.data(), shortopts, form == Form::Short ? nullptr : kLong<::option>, row);
}

/// Every call of a scan, and two beyond its end: what it returned and changed, and whether it complained.
std::string trace(const std::vector<std::string> &line, const std::function<int(Words &, int *)> &step,
                  char *const &argument, const int &at, const int &error) {
  Words words(line);
  const StderrCapture errors;
  std::string calls;
  size_t printed = flagged = 0;
  for (int ends = 0, row = -1; ends < 3;) {
    const int code = step(words, &row);
    ends += code == -1 ? 1 : 0;
    calls += std::to_string(code) + '=' + (argument != nullptr ? argument : "(none)") + " at " +
             std::to_string(at) + (code == '?' || code == ':' ? " error " + std::to_string(error) : "") +
             " row " + std::to_string(row) + (errors.all().size() > printed ? " message" : "") + " flag " +
             std::to_string(flagged) + " of " + words.order() + '\n';
    printed = errors.all().size();
  }
  return calls;
}

TEST(Getopt, ReadsAsTheCLibraryDoes) {
  const std::vector<std::string> pieces = {
      "-a", "-b", "-c", "-abc", "-bzc", "-c5", "-Wcol", "-z", "-W", "-Wcount=1", "--", "-", "one", "--action", "--act=1", "--ac", "--co", "--col", "two", "-\1pt",
      "--output=f", "--flag", "--nix=2", "-:"};
  const char *const modes[] = {"a:bc::\1:h", "+a:bc::", "-a:bc::", ":a:bc::", "-:a:bc::W;", "+:a:b", "a:bW;", "W;bo:t\1", "", "x:y::z"};
  std::mt19937 random(20240229);
  const auto below = [&](size_t n) { return static_cast<size_t>(random() % n); };
  for (int round = 0; round < 30000; ++round) {
    std::vector<std::string> line = {"vd"};
    for (size_t n = below(8); n > 0; --n) {
      std::string word = pieces[below(pieces.size())] + (below(8) == 0 ? "=v" : "");
      if (below(8) == 0) word.pop_back();
      line.push_back(word);
    }
    const char *const shortopts = modes[below(std::size(modes))];
    const auto form = static_cast<Form>(below(3));
    trx::opterr = ::opterr = below(8) != 0;
    below(8) == 0 ? setenv("POSIXLY_CORRECT", "1", 1) : unsetenv("POSIXLY_CORRECT");
    const auto ours = [&](Words &words, int *row) { return next(form, words, shortopts, row); };
    const auto theirs = [&](Words &words, int *row) { return nextOfC(form, words, shortopts, row); };
    trx::setoptind(1);
    ::optind = 0;
    ASSERT_EQ(trace(line, ours, trx::optarg, trx::optind, trx::optopt), trace(line, theirs, ::optarg, ::optind, ::optopt))
        << "short options " << shortopts << " form " << static_cast<int>(form);
  }
  trx::opterr = 1;
}

TEST(Getopt, MessagesOnStandardError) {
  const struct { Form form; std::vector<std::string> line; const char *message; } rows[] = {
      {Form::Long, {"info", "-z"}, "info: illegal option -- z\n"}, {Form::Long, {"vd", "-a"}, "vd: option requires an argument -- a\n"},
      {Form::Long, {"vd", "--acti=1"}, "vd: option `--acti=1' is ambiguous\n"}, {Form::LongOnly, {"vd", "-acti"}, "vd: option `-acti' is ambiguous\n"},
      {Form::Long, {"vd", "--out"}, "vd: option `--out' requires an argument\n"}, {Form::Long, {"vd", "--nix=2"}, "vd: unrecognized option `--nix=2'\n"},
      {Form::LongOnly, {"vd", "-nix"}, "vd: unrecognized option `-nix'\n"}, {Form::Long, {"vd", "-W", "nix"}, "vd: unrecognized option `--nix'\n"},
      {Form::Long, {"vd", "--colou=1"}, "\t\t\t\t\tvd: option `--colour' doesn't allow an argument\n"},
      {Form::LongOnly, {"vd", "-activ=1"}, "\t\t\t\t\tvd: option `-activate' doesn't allow an argument\n"},
  };
  for (const bool strict : {true, false}) {  // the same words whether POSIX is asked for or not
    strict ? setenv("POSIXLY_CORRECT", "1", 1) : unsetenv("POSIXLY_CORRECT");
    for (const auto &row : rows) {
      Words words(row.line);
      const StderrCapture errors;
      trx::setoptind(1);
      EXPECT_EQ(next(row.form, words, "a:\1:hW;"), '?');
      EXPECT_EQ(errors.all(), row.message);
    }
  }
}

// Commands return at the first error and leave the rest of a cluster unread; the next one starts anew. The
// shell keeps its words in the same array, often at the same address.
TEST(Getopt, StartsAfreshAfterAClusterWasLeft) {
  trx::opterr = 0;
  Words words({"vd", "-zbh"});
  for (int run = 0; run < 2; ++run) {
    trx::setoptind(run);  // 0 is 1: there is no option before the command word
    EXPECT_EQ(next(Form::Long, words, "bh"), '?');
  }
  Words other({"mp", "-hb"});
  trx::setoptind(1);
  EXPECT_EQ(next(Form::Long, other, "bh"), 'h');
  EXPECT_EQ(next(Form::Long, other, "bh"), 'b');
  trx::setoptind(2);
  EXPECT_EQ(next(Form::Long, other, "bh"), -1);
  trx::opterr = 1;
}

// clang-format on

}  // namespace
