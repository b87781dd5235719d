// SPDX-License-Identifier: GPL-3.0-or-later
// One of many processes that use a controller through the pair-command door.
//
//   process_worker pairs VOLUME COUNT   COUNT exchanges, a quarter of them writes of VOLUME's name
//   process_worker time COUNT           COUNT exchanges, the milliseconds that each took
//   process_worker disks                the serial numbers of the first two disks
//   process_worker lock                 the value of the controller's semaphore
#include <fcntl.h>
#include <semaphore.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>

#include "trx/trx_api.h"

namespace {

constexpr TRX_U16 kNamespaces = 64;

RequestHeader oneObject(TRX_U16 id) { return {0, TRX_REQUEST_ONE_OBJECT, 0, id, 1, 0, 0, {}}; }

/// Write a name that counts, and read it back; nobody else writes this volume.
const char *countUp(TRX_U16 volume, int round) {
  NVME_VD_Config_Request config{oneObject(volume), {{volume, {}, {}}}};
  auto &name = config.vd_config[0].Name;
  ("v" + std::to_string(volume) + "-" + std::to_string(round))
      .copy(reinterpret_cast<char *>(name), sizeof name);
  if (TRX_VD_SetConfig(0, &config) != 0) return "the volume's name was not written";
  NVME_VD_Info_Request info{oneObject(volume), {}};
  if (TRX_VD_GetInfo(0, &info) != 0) return "the volume was not read";
  if (info.vd_info[0].ID != volume) return "the answer is of another volume";
  return std::memcmp(info.vd_info[0].Name, name, sizeof name) == 0 ? nullptr : "the name is another";
}

/// A write that all processes share, and a list that none of them changes.
const char *share(TRX_U16 volume) {
  NVME_Adapter_Config config{};
  config.AutoRebuildOn = volume & 1;
  config.BGARate = TRX_BGA_RATE_MEDIUM;
  if (TRX_Adapter_SetConfig(0, &config) != 0) return "the controller was not configured";
  static NVME_NS_Info first[kNamespaces];
  NVME_NS_Info list[kNamespaces] = {};
  if (TRX_NS_GetInfo(0, list, kNamespaces) != 0) return "the namespaces were not read";
  if (first[0].NSID == 0) std::memcpy(first, list, sizeof list);
  return list[0].NSID != 0 && std::memcmp(first, list, sizeof list) == 0 ? nullptr : "the namespaces differ";
}

int pairs(TRX_U16 volume, int count) {
  for (int round = 1; round <= count / 4; ++round) {
    const char *counted = countUp(volume, round), *wrong = counted ? counted : share(volume);
    if (wrong) return std::printf("volume %u, round %d: %s\n", volume, round, wrong) > 0;
  }
  return 0;
}

int timed(int count) {
  using namespace std::chrono;
  int failed = 0;
  for (int i = 0; i < count; ++i) {
    const auto begin = steady_clock::now();
    NVME_Adapter_Info info{};
    failed += TRX_Adapter_GetInfo(0, &info) != 0;
    std::printf("%ld ", static_cast<long>(duration_cast<milliseconds>(steady_clock::now() - begin).count()));
  }
  return failed != 0;
}

int disks() {
  for (TRX_U16 id = 0; id < 2; ++id) {
    NVME_PD_Info_Request disk{oneObject(id), {}};
    if (TRX_PD_GetInfo(0, &disk) != 0) return 1;
    std::printf("%.20s\n", reinterpret_cast<const char *>(disk.pd_info[0].SerialNo));
  }
  return 0;
}

int lockValue() {
  sem_t *lock = sem_open("trxd0", O_RDWR);
  int value = -1;
  if (lock != SEM_FAILED) sem_getvalue(lock, &value);
  return std::printf("%d", value) < 0;
}

}  // namespace

int main(int argc, char **argv) {
  const std::string verb = argc > 1 ? argv[1] : "";
  if (verb == "lock") return lockValue();
  TRX_Init();
  const int status = verb == "pairs"  ? pairs(static_cast<TRX_U16>(std::stoi(argv[2])), std::stoi(argv[3]))
                     : verb == "time" ? timed(std::stoi(argv[2]))
                                      : disks();
  TRX_Final();
  return status;
}
