// SPDX-License-Identifier: GPL-3.0-or-later
// Tells the host's NVMe controller of namespaces that appear or are about to vanish with a virtual
// disk, by Namespace Attachment (NVMe base standard). What these hooks have to say goes to the log.
#ifndef TRX_FUNCTION_SYSNOTIFY_H
#define TRX_FUNCTION_SYSNOTIFY_H

#include "trx/trx_records.h"

/// Nothing has to be told before a virtual disk is created.
void before_create_vd(TRX_U8 adapter);

/// Attach the created namespaces when there is exactly one virtual disk.
/// @return status of the last attachment sent, 0 without any, 1 when the list cannot be read
TRX_U32 after_create_vd(TRX_U8 adapter);

/// Detach the active namespaces when there is exactly one virtual disk.
void before_delete_vd(TRX_U8 adapter, TRX_U16 vd);

/// Nothing has to be told after a virtual disk is deleted or imported. @return 0
TRX_U32 after_delete_vd(TRX_U8 adapter);
TRX_U32 after_import_vd(TRX_U8 adapter, TRX_U16 vd);

#endif  // TRX_FUNCTION_SYSNOTIFY_H
