// SPDX-License-Identifier: GPL-3.0-or-later
// The files of -f, --file, --outputfile and --inputfile.
#ifndef TRX_CLI_FILES_H
#define TRX_CLI_FILES_H

#include <cstdio>
#include <memory>
#include <string>

#include "Public/outcome.h"

namespace trx {

/// A path as an option gives it: the text between double quotes when it begins with one (up to the
/// next, or the end), else the text itself, cut to 1023 characters.
std::string pathArgument(const char *text);

/// The one file of a command. It closes itself.
class CommandFile {
 public:
  /// Open through the quote-stripping copy of the path. What is open is closed first.
  /// Only a regular file is opened for reading: a directory, a pipe or a device has no length.
  /// @return 0, or 1, and `reason` tells why
  int open_file(const std::string &path, const char *mode);

  /// open_file; prints "Unable to open file '%s': %s\n" on `stream` when that fails, and tells how.
  bool openOrComplain(const std::string &path, const char *mode);

  bool isOpen() const { return file_ != nullptr; }

  /// The path that was opened last, without its quotes, and why it could not be.
  const std::string &path() const { return path_; }
  const std::string &reason() const { return reason_; }

  /// How that counts: an input that is not there or is none, one that the user may not open, an output that
  /// cannot be written.
  Outcome howItFailed() const;

  /// Bytes in the file; 0 when none is open.
  size_t get_file_length();

  /// @return bytes read, fewer than asked for at the end of the file or on an error
  size_t read_file(void *buffer, size_t bytes);

  /// Read from the beginning again.
  void rewind();

  /// @return whether all bytes were taken; prints "Unable to write file '%s': %s\n" when not
  bool write_file(const void *buffer, size_t bytes);

  /// Close, if open. @return whether everything written has arrived; prints as write_file when not
  bool close_file();

 private:
  bool tellUnwritten() const;

  struct Close {
    void operator()(std::FILE *file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Close> file_;
  std::string path_, reason_;
  int error_ = 0;  ///< errno; 0 for a file that can be opened and is none
  bool input_ = true;
};

}  // namespace trx

#endif  // TRX_CLI_FILES_H
