/* SPDX-License-Identifier: GPL-3.0-or-later */
/* Since 2.34 the library runs a program's constructors, and the program brings no loop of its own; before, it
   was the program that brought it, and the library called what it was given. Today's library takes either. */
typedef void Constructor(int, char **, char **);
typedef int Main(int, char **, char **);

extern Constructor *__init_array_start[] __attribute__((visibility("hidden")));
extern Constructor *__init_array_end[] __attribute__((visibility("hidden")));

/* The linker's --wrap leads the start file's call here, and the "real" one to the library. */
int __real___libc_start_main(Main *program, int argc, char **argv, Constructor *construct,
                             void (*destruct)(void), void (*loaderEnd)(void), void *stackEnd);
int __wrap___libc_start_main(Main *program, int argc, char **argv, Constructor *construct,
                             void (*destruct)(void), void (*loaderEnd)(void), void *stackEnd);

static void constructAll(int argc, char **argv, char **environment) {
  for (Constructor **each = __init_array_start; each != __init_array_end; ++each)
    (*each)(argc, argv, environment);
}

/* The loader runs the destructors, then and now. */
int __wrap___libc_start_main(Main *program, int argc, char **argv, Constructor *construct,
                             void (*destruct)(void), void (*loaderEnd)(void), void *stackEnd) {
  return __real___libc_start_main(program, argc, argv, construct ? construct : constructAll, destruct,
                                  loaderEnd, stackEnd);
}
