// SPDX-License-Identifier: GPL-3.0-or-later
// The program log. Every layer reports its details here; in this build the log keeps none of them.
#ifndef TRX_FUNCTION_LOG_H
#define TRX_FUNCTION_LOG_H

void init_log();
void add_log(const char *format, ...) __attribute__((format(printf, 1, 2)));
void close_log();

#endif  // TRX_FUNCTION_LOG_H
