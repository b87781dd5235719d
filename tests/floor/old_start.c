/* SPDX-License-Identifier: GPL-3.0-or-later */
/* Preloaded: starts a program as a C library before 2.34 does, which knows of no constructors but by the
   function that it is given. */
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

typedef int Main(int, char **, char **);

int __libc_start_main(Main *program, int argc, char **argv, void (*construct)(int, char **, char **)) {
  if (!construct) {
    fputs("the program hands over no loop over its constructors\n", stderr);
    exit(99);
  }
  construct(argc, argv, environ);
  exit(program(argc, argv, environ));
}
