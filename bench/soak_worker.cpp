// SPDX-License-Identifier: GPL-3.0-or-later
// A library program of `soak`: exchanges pairs with an adapter until SIGTERM, or COUNT times, and writes a
// byte for each. A refusal is an answer, too; one to somebody else's question ends it with 1. It ends with 3
// where the start did not find the adapter.
//
//   soak_worker ADAPTER NAME [COUNT]
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

#include "trx/trx_api.h"

namespace {

volatile std::sig_atomic_t stopped = 0;

RequestHeader oneObject(TRX_U16 id) { return {0, TRX_REQUEST_ONE_OBJECT, 0, id, 1, 0, 0, {}}; }

bool controller(TRX_U8 adapter, TRX_U16) {
  NVME_Adapter_Info info{};
  return TRX_Adapter_GetInfo(adapter, &info) != 0 || (info.PortCount != 0 && info.BuildDate[0] != 0);
}

bool rate(TRX_U8 adapter, TRX_U16 id) {
  NVME_Adapter_Config config{};
  if (TRX_Adapter_GetConfig(adapter, &config) != 0) return true;
  const bool known = (config.BGARate & ~(TRX_BGA_RATE_MEDIUM | TRX_BGA_RATE_LOW)) == 0;
  config.BGARate = id % 2 ? TRX_BGA_RATE_HIGH : TRX_BGA_RATE_MEDIUM;
  TRX_Adapter_SetConfig(adapter, &config);
  return known;
}

bool disk(TRX_U8 adapter, TRX_U16 id) {
  NVME_PD_Info_Request request{oneObject(id), {}};
  return TRX_PD_GetInfo(adapter, &request) != 0 || request.pd_info[0].ID == id;
}

bool volume(TRX_U8 adapter, TRX_U16 id) {
  NVME_VD_Info_Request request{oneObject(id), {}};
  return TRX_VD_GetInfo(adapter, &request) != 0 || request.vd_info[0].ID == id;
}

bool name(TRX_U8 adapter, TRX_U16 id) {
  NVME_VD_Config_Request request{oneObject(id), {{id, {}, "soaked"}}};
  TRX_VD_SetConfig(adapter, &request);
  request = {oneObject(id), {}};
  return TRX_VD_GetConfig(adapter, &request) != 0 || request.vd_config[0].ID == id;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 3) return 2;
  const auto adapter = static_cast<TRX_U8>(std::stoi(argv[1]));
  const unsigned count = argc > 3 ? static_cast<unsigned>(std::stoul(argv[3])) : ~0U;
  std::signal(SIGTERM, [](int) { stopped = 1; });
  TRX_Init();
  constexpr bool (*kExchanges[])(TRX_U8, TRX_U16) = {controller, disk, rate, volume, name};
  int status = std::strcmp(TRX_Adapter_GetDevicePath(adapter), argv[2]) == 0 ? 0 : 3;
  for (unsigned i = 0; i < count && !stopped && status == 0; ++i) {
    const size_t which = i % std::size(kExchanges);
    if (!kExchanges[which](adapter, static_cast<TRX_U16>(i / std::size(kExchanges) % 4)))
      status = std::fprintf(stderr, "exchange %zu was answered for another\n", which) > 0;
    if (write(STDOUT_FILENO, ".", 1) != 1) status = 1;
    usleep(2000);
  }
  TRX_Final();
  return status;
}
