/* SPDX-License-Identifier: GPL-3.0-or-later */
/* Before 2.33 these were no functions of the library: programs brought them, over functions that are told
   which record they are to fill. */
#include <sys/stat.h>

enum { RecordOfX86_64 = 1 };

int __xstat(int record, const char *path, struct stat *facts);
int __lxstat(int record, const char *path, struct stat *facts);
int __fxstat(int record, int descriptor, struct stat *facts);
int __fxstat64(int record, int descriptor, struct stat64 *facts);

int stat(const char *path, struct stat *facts) { return __xstat(RecordOfX86_64, path, facts); }
int lstat(const char *path, struct stat *facts) { return __lxstat(RecordOfX86_64, path, facts); }
int fstat(int descriptor, struct stat *facts) { return __fxstat(RecordOfX86_64, descriptor, facts); }
int fstat64(int descriptor, struct stat64 *facts) { return __fxstat64(RecordOfX86_64, descriptor, facts); }
