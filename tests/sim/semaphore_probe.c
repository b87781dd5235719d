/* SPDX-License-Identifier: GPL-3.0-or-later */
/* Opens the semaphore of the first controller, and tells whether it was there already. */
#include <fcntl.h>
#include <semaphore.h>
#include <stdio.h>

int main(void) {
  sem_t *found = sem_open("trxd0", 0);
  if (found != SEM_FAILED) return puts("found") < 0;
  if (sem_open("trxd0", O_CREAT, 0777, 1) == SEM_FAILED) return 1;
  return puts("made") < 0;
}
