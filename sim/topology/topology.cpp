// SPDX-License-Identifier: GPL-3.0-or-later
#include "topology/topology.h"

#include <ctime>
#include <set>
#include <utility>

#include "model/diagnostics.h"
#include "model/firmware.h"
#include "model/journal.h"
#include "model/smart.h"
#include "model/storage.h"
#include "topology/json_parse.h"
#include "topology/json_value.h"
#include "trx/trx_product.h"

namespace sim {
namespace {

constexpr uint64_t kGiB = 1ULL << 30;
constexpr uint16_t kDiskVendor = 0x7A10;

// clang-format off
constexpr std::pair<const char *, uint8_t> kLevels[] = {
    {"RAID0", TRX_RAID_MODE_0}, {"RAID1", TRX_RAID_MODE_1}, {"RAID10", TRX_RAID_MODE_10}, {"JBOD", TRX_RAID_MODE_JBOD},
    {"RAID5", TRX_RAID_MODE_5}, {"RAID50", TRX_RAID_MODE_50}, {"RAID6", TRX_RAID_MODE_6}, {"RAID60", TRX_RAID_MODE_60}};
constexpr std::pair<const char *, uint16_t> kLevelBits[] = {
    {"RAID0", 1 << 0}, {"RAID1", 1 << 1}, {"JBOD", 1 << 2}, {"RAID10", 1 << 3}};
constexpr std::pair<const char *, uint32_t> kModes[] = {{"raid", TRX_FEATURE_RAID}, {"jbof", 0}};
constexpr std::pair<const char *, uint32_t> kFeatures[] = {
    {"import", TRX_FEATURE_IMPORT}, {"namespace", TRX_FEATURE_NAMESPACE}, {"dump", TRX_FEATURE_DUMP}};
constexpr std::pair<const char *, uint8_t> kActivityFeatures[] = {
    {"initialization", 1 << 0}, {"rebuild", 1 << 1}, {"sync", 1 << 2}, {"migrate", 1 << 3}, {"mediapatrol", 1 << 4}};
constexpr std::pair<const char *, uint8_t> kRates[] = {
    {"high", TRX_BGA_RATE_HIGH}, {"medium", TRX_BGA_RATE_MEDIUM}, {"low", TRX_BGA_RATE_LOW}};
constexpr std::pair<const char *, uint8_t> kPorts[] = {
    {"endpoint", TRX_PCIE_END_POINT}, {"rootcomplex", TRX_PCIE_ROOT_COMPLEX}};
constexpr std::pair<const char *, uint8_t> kStatuses[] = {
    {"", kStatusNotForced}, {"functional", TRX_VD_STATUS_FUNCTIONAL}, {"degrade", TRX_VD_STATUS_DEGRADE},
    {"deleted", TRX_VD_STATUS_DELETED}, {"missing", TRX_VD_STATUS_MISSING}, {"offline", TRX_VD_STATUS_OFFLINE},
    {"partially optimal", TRX_VD_STATUS_PARTIALLY_OPTIMAL}, {"foreign", TRX_VD_STATUS_FOREIGN},
    {"importable", TRX_VD_STATUS_IMPORTABLE}, {"not importable", TRX_VD_STATUS_NOT_IMPORTABLE},
    {"initialization", TRX_VD_STATUS_INITIALIZATION}, {"rebuilding", TRX_VD_STATUS_REBUILDING},
    {"error handling", TRX_VD_STATUS_ERROR_HANDLING}};
constexpr std::pair<const char *, uint8_t> kActivities[] = {
    {"quick init", TRX_NVME_BGA_TYPE_VD_INIT_QUICK}, {"init", TRX_NVME_BGA_TYPE_VD_INIT_BACKGROUND},
    {"rebuild", TRX_NVME_BGA_TYPE_VD_REBUILD}, {"sync", TRX_NVME_BGA_TYPE_VD_SYNC},
    {"media patrol", TRX_NVME_BGA_TYPE_VD_MEDIAPATROL}};
// clang-format on

constexpr std::pair<const char *, PcieCompletion> kCompletions[] = {
    {"ok", PcieCompletion::Ok},       {"timeout", PcieCompletion::Timeout},
    {"retry", PcieCompletion::Retry}, {"unsupported", PcieCompletion::Unsupported},
    {"abort", PcieCompletion::Abort}, {"stuck", PcieCompletion::Stuck}};

template <typename T>
T narrow(int64_t value) {
  return static_cast<T>(value);
}

/// ORs the bits of the words of an array.
template <typename Choices>
auto bits(JsonObject &json, const char *word, const Choices &choices, uint32_t absent) {
  if (!json.has(word)) return absent;
  uint32_t all = 0;
  const nlohmann::json &words = json.array(word, 0, std::size(choices));
  for (size_t i = 0; i < words.size(); ++i) {
    std::string place = std::string(word) + "[" + std::to_string(i) + "]";
    if (!words[i].is_string()) json.refuse(place, "must be a text");
    all |= json.chosen(place, words[i].get<std::string>(), choices);
  }
  return all;
}

FirmwareSlots slots(JsonObject &json, const std::string &revision, int64_t count) {
  FirmwareSlots firmware{};
  firmware.count = narrow<uint8_t>(json.number("firmwareSlots", count, 1, 7));
  firmware.active = 1;
  putText(firmware.revision[0], revision);
  putText(firmware.running, revision);
  return firmware;
}

void readSmart(JsonObject json, SmartBase &base) {
  base.temperatureKelvin =
      narrow<uint16_t>(json.number("temperatureKelvin", base.temperatureKelvin, 0, 65535));
  base.criticalWarning = narrow<uint8_t>(json.number("criticalWarning", 0, 0, 255));
  base.availableSpare = narrow<uint8_t>(json.number("availableSpare", 100, 0, 100));
  base.percentageUsed = narrow<uint8_t>(json.number("percentageUsed", 0, 0, 255));
  auto counter = [&json](const char *word, uint64_t &value) {
    value = static_cast<uint64_t>(json.number(word, static_cast<int64_t>(value), 0, INT64_MAX / 2));
  };
  counter("dataUnitsRead", base.dataUnitsRead);
  counter("dataUnitsWritten", base.dataUnitsWritten);
  counter("hostReads", base.hostReads);
  counter("hostWrites", base.hostWrites);
  counter("powerCycles", base.powerCycles);
  counter("powerOnHours", base.powerOnHours);
  counter("unsafeShutdowns", base.unsafeShutdowns);
  counter("mediaErrors", base.mediaErrors);
  counter("errorLogEntries", base.errorLogEntries);
  json.finish();
}

/// Of a device that has been at work for half a year, unless the topology tells more.
SmartBase smart(JsonObject &parent, Millis now) {
  SmartBase base = unworn(now);
  base.dataUnitsRead = 1'200'000;
  base.dataUnitsWritten = 840'000;
  base.hostReads = 52'000'000;
  base.hostWrites = 31'000'000;
  base.powerCycles = 21;
  base.powerOnHours = 4380;
  base.unsafeShutdowns = 2;
  if (parent.has("smart")) readSmart(parent.object("smart"), base);
  base.busyMinutes = (base.hostReads + base.hostWrites) / 1'000'000;
  return base;
}

uint32_t sectorSize(JsonObject &json, uint32_t absent) {
  int64_t size = json.number("sectorSize", absent, 0, 1 << 20);
  if (size != 512 && size != 4096) json.refuse("sectorSize", "must be 512 or 4096");
  return narrow<uint32_t>(size);
}

/// A size told in sectors or in GiB; 0 when neither is there.
uint64_t sectors(JsonObject &json, uint32_t sectorBytes) {
  if (json.has("sectors") && json.has("sizeGiB")) json.refuse("sectors", "give either sectors or sizeGiB");
  auto gib = static_cast<uint64_t>(json.number("sizeGiB", 0, 1, 1 << 20));
  if (gib != 0) return gib * (kGiB / sectorBytes);
  return static_cast<uint64_t>(json.number("sectors", 0, 1, int64_t{1} << 48));
}

Disk readDisk(JsonObject json, size_t index, Millis now) {
  Disk disk{};
  disk.id = narrow<uint16_t>(json.number("id", narrow<int64_t>(static_cast<int64_t>(index)), 0, 254));
  disk.present = json.flag("present", true);
  disk.failed = json.flag("failed", false);
  disk.sectorSize = sectorSize(json, 512);
  disk.sectors = sectors(json, disk.sectorSize);
  if (disk.sectors == 0) json.refuse("sizeGiB", "give a size in sectors or sizeGiB");
  putText(disk.model, json.text("model", "Halden HX1 NVMe SSD", sizeof disk.model));
  putText(disk.serial, json.text("serial", "HX1S" + std::to_string(10000 + index), sizeof disk.serial));
  disk.firmware = slots(json, json.text("firmware", "HX10A02", 8), 3);
  disk.ssdController = narrow<uint16_t>(json.number("ssdController", disk.id, 0, 65534));
  disk.ssdNsid = narrow<uint16_t>(json.number("ssdNamespace", 1, 1, 65535));
  disk.vendorId = narrow<uint16_t>(json.number("vendorId", kDiskVendor, 1, 65535));
  disk.completion = static_cast<uint8_t>(json.choice("completion", "ok", kCompletions));
  disk.smart = smart(json, now);
  json.finish();
  return disk;
}

void readDisks(JsonObject &json, Adapter &adapter, Millis now) {
  size_t count = json.array("disks", 0, 255).size();
  for (size_t i = 0; i < count; ++i) {
    Disk disk = readDisk(json.member("disks", i), i, now);
    for (const Disk &other : adapter.disks)
      if (other.id == disk.id) json.member("disks", i).refuse("id", "is another disk's too");
    adapter.disks.push_back(disk);
  }
}

void readMembers(JsonObject &json, const Adapter &adapter, Volume &volume) {
  const auto &members = json.array("members", 1, 32);
  for (size_t i = 0; i < members.size(); ++i) {
    std::string place = "members[" + std::to_string(i) + "]";
    uint16_t id = TRX_PD_ID_MISSING;
    if (!members[i].is_null()) {
      if (!members[i].is_number_unsigned() || !findDisk(adapter, members[i].get<uint32_t>()))
        json.refuse(place, "must be the id of a present disk, or null for a missing one");
      id = members[i].get<uint16_t>();
      if (volumeOfDisk(adapter, id)) json.refuse(place, "this disk is in another volume");
      for (size_t j = 0; j < i; ++j)
        if (volume.members[j] == id) json.refuse(place, "this disk is a member already");
    }
    volume.members[i] = id;
  }
  volume.memberCount = static_cast<uint8_t>(members.size());
}

uint64_t volumeSectors(JsonObject &json, const Adapter &adapter, const Volume &volume) {
  if (uint64_t told = sectors(json, volume.sectorSize); told != 0) return told;
  uint64_t smallest = UINT64_MAX;
  for (size_t i = 0; i < volume.memberCount; ++i)
    if (const Disk *disk = findDisk(adapter, volume.members[i])) {
      if (disk->sectorSize != volume.sectorSize) json.refuse("members", "the disks' sector sizes differ");
      smallest = std::min(smallest, disk->sectors);
    }
  if (smallest == UINT64_MAX) json.refuse("sectors", "give the size: no member is there to tell it");
  return capacityOf(volume.raidMode, volume.stripeBlocks, volume.sectorSize, smallest, volume.memberCount);
}

void readActivity(JsonObject &parent, Adapter &adapter, const Volume &volume, Millis now) {
  if (!parent.has("activity")) return;
  JsonObject json = parent.object("activity");
  Activity activity{};
  activity.type = json.choice("type", "init", kActivities);
  activity.target = volume.id;
  activity.since = now;
  activity.doneMilli = narrow<uint32_t>(json.number("percent", 0, 0, 99) * 1000);
  activity.toldQuarter = static_cast<uint8_t>(activity.doneMilli / 25'000);
  activity.paused = json.flag("paused", false);
  if (activity.type == TRX_NVME_BGA_TYPE_VD_REBUILD) {
    activity.slot = narrow<uint8_t>(json.number("slot", 0, 0, volume.memberCount - 1));
    activity.disk = volume.members[activity.slot];
    if (activity.disk == TRX_PD_ID_MISSING) json.refuse("slot", "must be the place of the new member");
  }
  json.finish();
  adapter.activities.push_back(activity);
}

void readVolume(JsonObject json, size_t index, Adapter &adapter, Millis now) {
  Volume volume{};
  volume.id = narrow<uint16_t>(json.number("id", static_cast<int64_t>(index), 0, 254));
  if (findVolume(adapter, volume.id)) json.refuse("id", "is another volume's too");
  volume.raidMode = json.choice("raid", "", kLevels);
  int64_t stripe = json.number("stripeKiB", 128, 1, 1024);
  if (stripe != 128 && stripe != 256 && stripe != 512 && stripe != 1024)
    json.refuse("stripeKiB", "must be 128, 256, 512 or 1024");
  volume.stripeBlocks = narrow<uint16_t>(stripe * 2);
  readMembers(json, adapter, volume);
  volume.sectorSize = 512;
  for (size_t i = 0; i < volume.memberCount; ++i)
    if (const Disk *disk = findDisk(adapter, volume.members[i])) volume.sectorSize = disk->sectorSize;
  volume.sectors = volumeSectors(json, adapter, volume);
  volume.foreign = json.flag("foreign", false);
  volume.importable = volume.foreign && json.flag("importable", true);
  volume.initialised = json.flag("initialised", true);
  volume.forcedStatus = json.choice("status", "", kStatuses);
  putText(volume.name, json.text("name", "VD" + std::to_string(volume.id), sizeof volume.name), '\0');
  readActivity(json, adapter, volume, now);
  json.finish();
  adapter.volumes.push_back(volume);
}

void readControllers(JsonObject &json, Namespace &ns) {
  const auto &controllers = json.array("controllers", 0, kLastController + 1U);
  for (size_t i = 0; i < controllers.size(); ++i) {
    if (!controllers[i].is_number_unsigned() || controllers[i].get<uint64_t>() > kLastController)
      json.refuse("controllers[" + std::to_string(i) + "]", "must be a controller id from 0 to 33");
    ns.attached |= uint64_t{1} << controllers[i].get<unsigned>();
  }
  if (!ns.shared && controllers.size() > 1) json.refuse("controllers", "a private namespace has one");
}

void readNamespace(JsonObject json, size_t index, Adapter &adapter) {
  auto nsid = narrow<uint8_t>(json.number("nsid", static_cast<int64_t>(index) + 1, 1, 254));
  if (findNamespace(adapter, nsid)) json.refuse("nsid", "is another namespace's too");
  if (json.has("volume") == json.has("disk")) json.refuse("volume", "give either volume or disk");
  bool onVolume = json.has("volume");
  auto backing = narrow<uint16_t>(json.number(onVolume ? "volume" : "disk", 0, 0, 254));
  const Volume *volume = onVolume ? findVolume(adapter, backing) : nullptr;
  const Disk *disk = onVolume ? nullptr : findDisk(adapter, backing);
  if (!volume && !disk) json.refuse(onVolume ? "volume" : "disk", "there is no such object");
  uint8_t type = onVolume ? TRX_NS_DEVICE_VD : TRX_NS_DEVICE_PD;
  uint32_t bytes = volume ? volume->sectorSize : disk->sectorSize;
  uint64_t room = freeSectors(adapter, type, backing);
  uint64_t size = sectors(json, bytes);
  if (size == 0) size = room;
  if (size == 0 || size > room) json.refuse("sectors", "larger than what is free: " + std::to_string(room));
  bool shared = json.flag("shared", true);
  Namespace &ns = addNamespace(adapter, nsid, type, backing, bytes, size, shared);
  readControllers(json, ns);
  json.finish();
}

void readVersion(JsonObject &json, const char *word, const char *absent, NVME_Version_Info &version) {
  std::string text = json.text(word, absent, 24);
  unsigned parts[4] = {};
  char end = 0;
  if (std::sscanf(text.c_str(), "%u.%u.%u.%u%c", &parts[0], &parts[1], &parts[2], &parts[3], &end) != 4 ||
      std::max({parts[0], parts[1], parts[2], parts[3]}) > 65535)
    json.refuse(word, "must be four numbers such as \"1.2.0.1035\"");
  version = {static_cast<TRX_U16>(parts[0]), static_cast<TRX_U16>(parts[1]), static_cast<TRX_U16>(parts[2]),
             static_cast<TRX_U16>(parts[3])};
}

void readPorts(JsonObject &json, NVME_Adapter_Info &info) {
  info.PCIeInfo[0] = {TRX_PCIE_END_POINT, 0, 3, 8};
  size_t count = 1;
  if (json.has("pcie")) count = json.array("pcie", 0, 16).size();
  for (size_t i = 0; json.has("pcie") && i < count; ++i) {
    JsonObject port = json.member("pcie", i);
    info.PCIeInfo[i].Type = port.choice("type", "endpoint", kPorts);
    info.PCIeInfo[i].Id = narrow<TRX_U8>(port.number("id", static_cast<int64_t>(i), 0, 255));
    info.PCIeInfo[i].Speed = narrow<TRX_U8>(port.number("speed", 3, 0, 255));
    info.PCIeInfo[i].LinkWidth = narrow<TRX_U8>(port.number("width", 8, 0, 255));
    port.finish();
  }
  for (; count < 16; ++count) info.PCIeInfo[count].Type = TRX_PCIE_LAST;
}

uint8_t stripeBits(JsonObject &json) {
  if (!json.has("stripesKiB")) return 7;
  unsigned all = 0;
  for (const auto &size : json.array("stripesKiB", 0, 3)) {
    int64_t kib = size.is_number_integer() ? size.get<int64_t>() : 0;
    if (kib != 128 && kib != 256 && kib != 512) json.refuse("stripesKiB", "must hold 128, 256 or 512");
    all |= kib == 128 ? 1U : kib == 256 ? 2U : 4U;
  }
  return static_cast<uint8_t>(all);
}

void readInfo(JsonObject &json, bool supported, NVME_Adapter_Info &info) {
  uint32_t mode = json.choice("mode", "raid", kModes);
  readVersion(json, "uefi", "1.0.0.1012", info.UEFIVersion);
  readVersion(json, "firmware", "1.2.0.1035", info.FirmwareVersion);
  info.VID = narrow<TRX_U16>(json.number("vendorId", supported ? TRX_VENDOR_ID : 0x7AAA, 0, 65535));
  info.DID = narrow<TRX_U16>(json.number("deviceId", supported ? TRX_DEVICE_ID : 0x1001, 0, 65535));
  info.SVID = info.VID;
  info.SDID = 0x0001;
  info.RevisionID = narrow<TRX_U8>(json.number("revision", 0xA1, 0, 255));
  info.PortCount = narrow<TRX_U8>(json.number("portCount", 4, 0, 255));
  info.MaxPDPerVD = narrow<TRX_U8>(json.number("maxPdPerVd", 8, 0, 32));
  info.MaxVD = narrow<TRX_U8>(json.number("maxVd", mode ? 8 : 0, 0, 255));
  info.MaxPD = narrow<TRX_U8>(json.number("maxPd", 8, 0, 255));
  info.MaxNSPerVD = narrow<TRX_U8>(json.number("maxNsPerVd", 8, 0, 255));
  info.MaxNS = narrow<TRX_U8>(json.number("maxNs", 32, 0, 254));
  info.MaxFlashSize = narrow<TRX_U32>(json.number("maxFlashSize", 8 << 20, 0, UINT32_MAX));
  info.MaxBufferSize = TRX_PAGE_SIZE;
  info.SupportRAIDMode = static_cast<TRX_U16>(bits(json, "raidModes", kLevelBits, 0xF));
  info.Cache = narrow<TRX_U8>(json.number("cache", 1, 0, 255));
  info.SupportBGAFeature = static_cast<TRX_U8>(bits(json, "activities", kActivityFeatures, 0x1F));
  info.StripeSizeSupported = stripeBits(json);
  uint32_t features = TRX_FEATURE_IMPORT | TRX_FEATURE_NAMESPACE | TRX_FEATURE_DUMP;
  info.Features = mode | bits(json, "features", kFeatures, features);
  putText({reinterpret_cast<char *>(info.Link), sizeof info.Link}, json.text("link", "", 20), '\0');
  readPorts(json, info);
  std::string built = json.text("buildDate", "Mar 02 2024", sizeof info.BuildDate);
  putText({reinterpret_cast<char *>(info.BuildDate), sizeof info.BuildDate}, built, '\0');
}

void readI2c(JsonObject &json, AdapterCore &core) {
  if (!json.has("i2c")) return;
  std::fill(std::begin(core.i2c), std::end(core.i2c), uint8_t{0});
  for (const auto &device : json.array("i2c", 0, 256)) {
    if (!device.is_number_unsigned() || device.get<uint64_t>() > 255)
      json.refuse("i2c", "must hold device ids from 0 to 255");
    setI2c(core, device.get<uint8_t>());
  }
}

void readCore(JsonObject &json, size_t index, AdapterCore &core, Millis now) {
  std::string name = json.text("name", "vmhba" + std::to_string(index + 2), 20);
  if (!plainName(name)) json.refuse("name", "must be lower-case letters and digits, such as \"vmhba2\"");
  putText(core.name, name, '\0');
  core.supported = json.flag("supported", true);
  core.index = static_cast<uint32_t>(index);
  core.bus = narrow<uint8_t>(json.number("bus", 3 + static_cast<int64_t>(index), 0, 255));
  core.device = narrow<uint8_t>(json.number("device", 0, 0, 31));
  core.function = narrow<uint8_t>(json.number("function", 0, 0, 7));
  core.slot = narrow<int32_t>(json.number("slot", -1, 0, 255));
  core.rateMilli = static_cast<uint32_t>(json.real("rate", 0.5, 1000) * 1000);
  core.controllerId = narrow<uint16_t>(json.number("controllerId", 0, 0, kLastController));
  readInfo(json, core.supported, core.info);
  core.config.AutoRebuildOn = json.flag("autoRebuild", false);
  core.config.BGARate = json.choice("bgaRate", "medium", kRates);
  putText(core.model, json.text("model", "TRX NVMe RAID Adapter", sizeof core.model));
  putText(core.serial, json.text("serial", "TRXA" + std::to_string(20001 + index), sizeof core.serial));
  core.firmware = slots(json, revisionText(core.info.FirmwareVersion), 3);
  core.firmware.version[0] = core.info.FirmwareVersion;
  core.smart = smart(json, now);
  core.dumpOn = json.flag("spiLog", false);
  setDiagnosticDefaults(core);
  readI2c(json, core);
}

void readJournal(JsonObject &json, Adapter &adapter, Millis now) {
  size_t count = json.array("journal", 0, 4096).size();
  for (size_t i = 0; i < count; ++i) {
    JsonObject line = json.member("journal", i);
    int64_t seconds = line.number("time", now / 1000, 0, UINT32_MAX);
    std::string message = line.text("message", "", 200);
    if (message.empty() || message.find('\n') != std::string::npos)
      line.refuse("message", "must be one line of text");
    line.finish();
    journalLine(adapter, seconds * 1000, message, {.eventClass = TRX_NVME_EVT_CLASS_OEM});
  }
}

Adapter readAdapter(JsonObject json, size_t index, Millis now) {
  Adapter adapter;
  readCore(json, index, adapter.core, now);
  readDisks(json, adapter, now);
  size_t volumes = json.array("volumes", 0, 64).size();
  if (volumes > adapter.core.info.MaxVD) json.refuse("volumes", "more than maxVd");
  for (size_t i = 0; i < volumes; ++i) readVolume(json.member("volumes", i), i, adapter, now);
  size_t namespaces = json.array("namespaces", 0, 128).size();
  if (namespaces > adapter.core.info.MaxNS) json.refuse("namespaces", "more than maxNs");
  for (size_t i = 0; i < namespaces; ++i) readNamespace(json.member("namespaces", i), i, adapter);
  readJournal(json, adapter, now);
  json.finish();
  return adapter;
}

}  // namespace

HostPlan parseTopology(const std::string &text) {
  nlohmann::json document = parseJson(text);
  JsonObject json(document, "");
  HostPlan plan;
  plan.topologyText = text;
  int64_t clock = json.number("clock", -1, 0, UINT32_MAX);
  plan.clock = clock < 0 ? -1 : clock * 1000;
  plan.smbiosVersion = static_cast<int>(json.number("smbios", 3, 2, 3));
  Millis now = clock < 0 ? Millis{std::time(nullptr)} * 1000 : plan.clock;
  size_t count = json.array("adapters", 1, 64).size();
  std::set<std::string> names;
  for (size_t i = 0; i < count; ++i) {
    plan.adapters.push_back(readAdapter(json.member("adapters", i), i, now));
    if (!names.emplace(plan.adapters.back().name()).second)
      json.member("adapters", i).refuse("name", "is another adapter's too");
  }
  json.finish();
  return plan;
}

}  // namespace sim
