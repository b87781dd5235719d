// SPDX-License-Identifier: GPL-3.0-or-later
// Where the program writes: standard output and, with -output, a file. Both are watched, because the
// reason of a write that fails is known when it fails and to nobody at the end of the program.
#ifndef TRX_CLI_OUTPUT_H
#define TRX_CLI_OUTPUT_H

#include <string>

namespace trx {

/// Open descriptors 0 to 2 that are closed on /dev/null, so that no file of a command becomes one of them
/// and receives what is printed. Reading from the first and writing to the others goes on to fail.
void occupyStandardDescriptors();

/// Put a watched stream in the place of standard output, for the library's messages, too, and let
/// `stream` be it.
void watchOutput();

/// Let `stream` append to a file.
/// @return whether it is open; errno tells why not
bool redirectStream(const char *path);

/// Append a document to the file of `useDocumentFile`, or to standard output: whole, or not at all where it
/// can be undone. When the file cannot take it, standard output does.
/// @return whether it arrived where it belongs; closeOutput tells why not
bool writeDocument(const std::string &document);

/// Let documents go to a file. @return whether it is open; errno tells why not
bool useDocumentFile(const char *path);

/// Flush and end the outputs. What could not be written is told on standard error.
/// @return whether everything was
bool closeOutput();

}  // namespace trx

#endif  // TRX_CLI_OUTPUT_H
