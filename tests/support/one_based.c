/* SPDX-License-Identifier: GPL-3.0-or-later */
/* What the library answers on hosts whose users count adapters from 1, and to users without permission. */
#include "trx/trx_api.h"

TRX_U8 __wrap_TRX_Adapter_GetOneBaseMode(void) { return 1; }
TRX_U8 __wrap_TRX_IsSysDenied(void) { return 1; }
