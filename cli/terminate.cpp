// SPDX-License-Identifier: GPL-3.0-or-later
// The C++ runtime ends a program that nobody can go on with, and prints the name of the exception before, for
// which it brings a demangler of 50 kB. Its handler is a variable of its own object file (Itanium C++ ABI
// runtime): with one of ours, that file and the demangler stay out.
#include <cstdlib>
#include <exception>

namespace __cxxabiv1 {
extern std::terminate_handler __terminate_handler;
std::terminate_handler __terminate_handler = std::abort;
}  // namespace __cxxabiv1
