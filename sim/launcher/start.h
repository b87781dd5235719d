// SPDX-License-Identifier: GPL-3.0-or-later
// What the verbs that start a program share.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace sim {

/// The management libraries that trx_sim comes with; each is called libvmkmgmt.so, in its own directory.
enum class Library { Simulated, Recorder, Replay };

/// The directory of a library. Throws HostError when it is not there.
std::filesystem::path libraryDirectory(Library library);
/// Puts a value in front of an environment variable's.
void prepend(const char *variable, const std::string &value, char separator);
/// Sets the environment up so that a program finds the library, our lspci, our SMBIOS file, and trx_cli
/// where PATH has none.
void surroundWith(Library library);
/// Becomes the program of these words. Returns, with an exit status, only when that fails.
int becomeProgram(const std::vector<std::string> &words);

}  // namespace sim
