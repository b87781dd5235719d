// SPDX-License-Identifier: GPL-3.0-or-later
// What the library says to people. All of it goes through here, because a program may want to have it
// (`TRX_SetMessageHandler`); without a handler it is printed.
#ifndef TRX_FUNCTION_MESSAGE_H
#define TRX_FUNCTION_MESSAGE_H

#include "trx/trx_api.h"

/// Say something on standard output. @return how many characters it has
int printOut(TRX_MESSAGE_SEVERITY severity, const char *format, ...) __attribute__((format(printf, 2, 3)));

/// Say something on standard error: reasons, and what must not stand among a program's own output.
void printError(TRX_MESSAGE_SEVERITY severity, const char *format, ...) __attribute__((format(printf, 2, 3)));

#endif  // TRX_FUNCTION_MESSAGE_H
