/* SPDX-License-Identifier: GPL-3.0-or-later */
/* A program of somebody else, in C: prints the library's version and the number of controllers. */
#include <stdio.h>
#include <trx/trx_api.h>

int main(void) {
  TRX_Init();
  printf("\n%s %d\n", TRX_Get_Version(), TRX_Adapter_GetCount());
  TRX_Final();
  return 0;
}
