// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>

#include "controller/records.h"
#include "host/directory.h"
#include "host/faults.h"
#include "launcher/verbs.h"
#include "model/activities.h"
#include "model/devices.h"
#include "model/state_file.h"
#include "model/storage.h"

namespace sim {
namespace {

constexpr const char *kVolumeStatus[] = {
    "functional", "degrade",    "deleted",        "missing",        "offline",    "partially optimal",
    "foreign",    "importable", "not importable", "initialization", "rebuilding", "error handling"};
constexpr const char *kActivity[] = {"none",      "quick init",        "init",        "rebuild", "sync",
                                     "migration", "disk media patrol", "media patrol"};

unsigned long gib(uint64_t sectors, uint32_t sectorSize) {
  return static_cast<unsigned long>(sectors * sectorSize >> 30);
}

void showDisks(const Adapter &adapter) {
  for (const Disk &disk : adapter.disks) {
    std::printf("  disk %u: %s, serial %s, firmware %s, %lu GiB, %u-byte sectors", unsigned{disk.id},
                fieldText(disk.model).c_str(), fieldText(disk.serial).c_str(),
                fieldText(disk.firmware.running).c_str(), gib(disk.sectors, disk.sectorSize),
                disk.sectorSize);
    const Volume *volume = volumeOfDisk(adapter, disk.id);
    if (!disk.present) std::printf(", absent");
    if (disk.failed) std::printf(", failed");
    if (disk.held & kHeldByPower) std::printf(", without power");
    if (disk.held & kHeldByReset) std::printf(", held in reset");
    if (disk.resets) std::printf(", %u resets", unsigned{disk.resets});
    if (disk.led) std::printf(", LED %u", unsigned{disk.led});
    if (volume) std::printf(", in volume %u", unsigned{volume->id});
    std::printf("\n");
  }
}

void showVolumes(const Adapter &adapter, Millis now) {
  for (const Volume &volume : adapter.volumes) {
    std::printf("  volume %u: \"%s\", RAID code 0x%x, %u KiB stripe, %lu GiB, %s, members",
                unsigned{volume.id}, fieldText(volume.name).c_str(), unsigned{volume.raidMode},
                volume.stripeBlocks / 2U, gib(volume.sectors, volume.sectorSize),
                kVolumeStatus[volumeStatus(adapter, volume)]);
    for (unsigned i = 0; i < volume.memberCount; ++i) {
      if (volume.members[i] == TRX_PD_ID_MISSING)
        std::printf(" missing");
      else
        std::printf(" %u", unsigned{volume.members[i]});
    }
    if (const Activity *activity = volumeActivity(adapter, volume.id))
      std::printf(", %s %u%%%s", kActivity[activity->type],
                  unsigned{activityPercent(adapter, *activity, now)}, activity->paused ? " (paused)" : "");
    std::printf("\n");
  }
}

void showNamespaces(const Adapter &adapter) {
  for (const Namespace &ns : adapter.namespaces) {
    std::printf("  namespace %u: %s %u, %lu GiB, %s, EUI-64 ", unsigned{ns.nsid},
                ns.deviceType == TRX_NS_DEVICE_VD ? "volume" : "disk", unsigned{ns.backing},
                gib(ns.sectors, ns.sectorSize), ns.shared ? "shared" : "private");
    for (uint8_t byte : ns.eui64) std::printf("%02x", unsigned{byte});
    std::printf(", controllers");
    for (unsigned id = 0; id <= kLastController; ++id)
      if (ns.attached >> id & 1) std::printf(" %u", id);
    std::printf("%s\n", ns.attached ? "" : " none");
  }
}

/// The manufacturing switches that are on.
std::string switchWords(uint8_t switches) {
  std::string words;
  if (switches & kSwitchFlashTool) words += " kxf";
  if (switches & kSwitchProtection) words += " protect";
  if (switches & kSwitchSriov) words += " sriov";
  return words.empty() ? " none" : words;
}

void showSettings(const AdapterCore &core) {
  std::printf("  debug level %s, switches on:%s", core.debugLevel ? "error only" : "normal",
              switchWords(core.switches).c_str());
  if (core.pendingSwitches != core.switches)
    std::printf(" (after a restart:%s)", switchWords(core.pendingSwitches).c_str());
  std::printf("\n");
  constexpr const char *kPorts[] = {"end point", "root complex"};
  constexpr const char *kActions[] = {"off", "on", "slow blink", "quick blink"};
  for (size_t port = 0; port < std::size(kPorts); ++port)
    for (size_t id = 0; id < std::size(core.linkLed[port]); ++id)
      if (uint8_t action = core.linkLed[port][id])
        std::printf("  LED of %s %zu: %s\n", kPorts[port], id, kActions[action % std::size(kActions)]);
}

void showAdapter(const Adapter &adapter, Millis now) {
  const AdapterCore &core = adapter.core;
  std::printf("%s: %s mode%s, bus %u, ", core.name, adapter.raid() ? "RAID" : "JBOF",
              core.supported ? "" : " (not a supported controller)", unsigned{core.bus});
  if (core.slot >= 0)
    std::printf("slot %d", core.slot);
  else
    std::printf("no slot");
  const NVME_Version_Info &version = core.info.FirmwareVersion;
  std::printf(", firmware %u.%u.%u.%04u in slot %u", unsigned{version.MajorVersion},
              unsigned{version.MinorVersion}, unsigned{version.OEMNumber}, unsigned{version.BuildNumber},
              unsigned{core.firmware.active});
  if (core.firmware.pending) std::printf(" (slot %u after a reset)", unsigned{core.firmware.pending});
  std::printf("\n  auto-rebuild %s, activity rate code 0x%x, %.3f%% per second, SPI log %s (%zu bytes)\n",
              core.config.AutoRebuildOn ? "on" : "off", unsigned{core.config.BGARate},
              core.rateMilli / 1000.0, core.dumpOn ? "on" : "off", adapter.spiLog.size());
  std::printf("  VPD in %s, GPIO 0x%x 0x%x 0x%x%s\n", core.vpdTarget ? "SPI" : "EEPROM", core.gpio[0],
              core.gpio[1], core.gpio[2], core.gpio[3] ? " (default)" : "");
  const NVME_Adapter_Time &time = core.hostTime;
  if (time.hi != 0 || time.mid != 0 || time.lw != 0)
    std::printf("  time set by a program: 0x%04x%04x%04x\n", unsigned{time.hi}, unsigned{time.mid},
                unsigned{time.lw});
  if (core.latencyMillis != 0) std::printf("  each exchange takes %u ms\n", core.latencyMillis);
  showSettings(core);
  showDisks(adapter);
  showVolumes(adapter, now);
  showNamespaces(adapter);
  std::printf("  journal: %u lines written, page %u of %zu\n", adapter.journal.front().nextSequence,
              adapter.journal.front().page + 1, kJournalPages);
}

}  // namespace

int showHost(const Arguments &arguments) {
  ensureHost(arguments);
  for (const std::string &name : adapterNames(arguments.state)) {
    AdapterFiles files(arguments.state, name);
    Session session(files);
    showAdapter(session.state(), session.now());
    session.commit();
  }
  for (const Fault &fault : listFaults(arguments.state)) std::printf("fault: %s\n", faultText(fault).c_str());
  bool exists = false;
  std::string violations = readText(arguments.state + "/violations.log", exists);
  if (!violations.empty()) std::printf("violations:\n%s", violations.c_str());
  return 0;
}

}  // namespace sim
