// SPDX-License-Identifier: GPL-3.0-or-later
// NVMe commands that go to the controller as they are, without an envelope.
#include "interface/request.h"
#include "trx/trx_api.h"

TRX_U32 TRX_Adapter_Admin(TRX_U8 adapter, TRX_U8 opcode, TRX_U32 nsid, const TRX_U32 *cdw, TRX_U8 count,
                          const void *in, TRX_U16 in_length, void *out, TRX_U16 out_length) {
  _Device *nvme = nvmeDeviceOf(adapter);
  const TRX_U32 status = nvme->sendCommand(nvme, opcode, nsid, cdw, count, in, in_length, out, out_length);
  _showStatusCode(status);
  return status;
}

TRX_U32 TRX_Adapter_NVM(TRX_U8 adapter, TRX_U8 opcode, TRX_U32 nsid, const TRX_U32 *cdw, TRX_U8 count,
                        const void *in, TRX_U16 in_length, void *out, TRX_U16 out_length) {
  _Device *nvme = nvmeDeviceOf(adapter);
  return nvme->sendNVM(nvme, opcode, nsid, cdw, count, in, in_length, out, out_length);
}

TRX_U32 TRX_Adapter_PassthruAdmin(TRX_U8 adapter, const trx_admin_command_format *entry, const void *in,
                                  TRX_U16 in_length, void *out, TRX_U16 out_length) {
  _Device *nvme = nvmeDeviceOf(adapter);
  const TRX_U32 status = nvme->sendPassthruAdmin(nvme, entry, in, in_length, out, out_length);
  _showStatusCode(status);
  return status;
}
