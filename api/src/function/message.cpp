// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/message.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

struct Handler {
  TRX_MessageHandler call;
  void *context;
} handler;

struct Freer {
  void operator()(char *text) const { std::free(text); }
};

int pass(FILE *otherwise, TRX_MESSAGE_SEVERITY severity, const char *format, va_list arguments) {
  if (!handler.call) return std::vfprintf(otherwise, format, arguments);
  char *made = nullptr;
  const int length = vasprintf(&made, format, arguments);
  const std::unique_ptr<char, Freer> text(length < 0 ? nullptr : made);
  handler.call(handler.context, severity, text ? text.get() : format);
  return length;
}

}  // namespace

void TRX_SetMessageHandler(TRX_MessageHandler call, void *context) { handler = {call, context}; }

int printOut(TRX_MESSAGE_SEVERITY severity, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = pass(stdout, severity, format, arguments);
  va_end(arguments);
  return length;
}

void printError(TRX_MESSAGE_SEVERITY severity, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  pass(stderr, severity, format, arguments);
  va_end(arguments);
}
