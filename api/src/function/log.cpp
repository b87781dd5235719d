// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/log.h"

// A sink on purpose: the three calls mark where a build that keeps a log fills in its own.
void init_log() {}

void add_log(const char *, ...) {}

void close_log() {}
