/* SPDX-License-Identifier: GPL-3.0-or-later */
/* Since 2.32 the library tells by this whether there is one thread only. The old one does not, and so
   there may always be more. */
char __libc_single_threaded;
