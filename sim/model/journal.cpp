// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/journal.h"

#include <cstdio>
#include <cstring>

namespace sim {
namespace {

struct Text {
  uint16_t code;
  uint8_t severity;
  const char *format;
};

// clang-format off
constexpr Text kAdapterTexts[] = {
    {0, TRX_NVME_EVT_SEVERITY_NOTIFY,   "Background activity rate changed to %d%%"},
    {2, TRX_NVME_EVT_SEVERITY_NOTIFY,   "Firmware image written to slot %d"},
    {3, TRX_NVME_EVT_SEVERITY_WARNING,  "Firmware image refused"},
    {4, TRX_NVME_EVT_SEVERITY_NOTIFY,   "Firmware of slot %d is active"},
    {5, TRX_NVME_EVT_SEVERITY_WARNING,  "Firmware activation failed"},
    {8, TRX_NVME_EVT_SEVERITY_NOTIFY,   "Auto-rebuild has been disable"},
    {9, TRX_NVME_EVT_SEVERITY_NOTIFY,   "Auto-rebuild has been enabled"},
};
constexpr Text kDiskTexts[] = {
    {0,  TRX_NVME_EVT_SEVERITY_NOTIFY,  "Physical disk %d is online"},
    {1,  TRX_NVME_EVT_SEVERITY_WARNING, "Physical disk %d is offline"},
    {10, TRX_NVME_EVT_SEVERITY_WARNING, "Physical disk %d too small to be used for auto-rebuild"},
};
constexpr Text kVolumeTexts[] = {
    {0, TRX_NVME_EVT_SEVERITY_CRITICAL, "virtual disk %d is offline"},
    {1, TRX_NVME_EVT_SEVERITY_NOTIFY,   "virtual disk %d is online"},
    {2, TRX_NVME_EVT_SEVERITY_CRITICAL, "virtual disk %d is degraded"},
    {3, TRX_NVME_EVT_SEVERITY_WARNING,  "virtual disk %d is partially degraded"},
    {4, TRX_NVME_EVT_SEVERITY_NOTIFY,   "virtual disk %d is created"},
    {5, TRX_NVME_EVT_SEVERITY_NOTIFY,   "virtual disk %d is deleted"},
    {7, TRX_NVME_EVT_SEVERITY_NOTIFY,   "Import virtual disk %d completed"},
};
// clang-format on
constexpr const char *kStepTexts[] = {"%s on virtual disk %d started", "%s on virtual disk %d paused",
                                      "%s on virtual disk %d resumed", "%s on virtual disk %d aborted",
                                      "%s on virtual disk %d completed"};

template <size_t N>
const Text &textOf(const Text (&texts)[N], uint16_t code) {
  for (const Text &text : texts)
    if (text.code == code) return text;
  static constexpr Text unknown{0, 0, "event on object %d"};
  return unknown;
}

std::string filled(const char *format, uint32_t value) {
  char text[96];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

void appendToPages(Journal &journal, std::string_view line) {
  if (journal.used + line.size() > kJournalText) {
    journal.page = (journal.page + 1) % kJournalPages;
    journal.used = 0;
    std::memset(journal.text[journal.page], 0, kJournalText);
  }
  std::memcpy(journal.text[journal.page] + journal.used, line.data(), line.size());
  journal.used += static_cast<uint32_t>(line.size());
}

}  // namespace

void spiLine(Adapter &adapter, Millis now, std::string_view text) {
  if (!adapter.core.dumpOn) return;
  std::string line = "[";
  line.append(std::to_string(now / 1000)).append("] ").append(text).append("\n");
  auto &log = adapter.spiLog;
  log.insert(log.end(), line.begin(), line.end());
  if (log.size() > kSpiLogLimit) {
    log.erase(log.begin(), log.end() - static_cast<std::ptrdiff_t>(kSpiLogLimit));
    adapter.core.spiRead = 0;
  }
}

void journalLine(Adapter &adapter, Millis now, std::string_view message, EventRecord record) {
  Journal &journal = adapter.journal.front();
  record.seconds = static_cast<uint32_t>(now / 1000);
  record.sequence = ++journal.nextSequence;
  std::string line = "[SEQ]" + std::to_string(record.sequence) + "[TIME]" + std::to_string(record.seconds) +
                     "[MSG]" + std::string(message.substr(0, 200)) + "\n";
  appendToPages(journal, line);
  adapter.events.push_back(record);
  constexpr size_t limit = kJournalPages * kEventsPerPage;
  if (adapter.events.size() > limit) adapter.events.erase(adapter.events.begin());
  spiLine(adapter, now, message);
}

void journalVolume(Adapter &adapter, Millis now, VolumeEvent event, uint16_t volume) {
  const Text &text = textOf(kVolumeTexts, static_cast<uint16_t>(event));
  journalLine(adapter, now, filled(text.format, volume),
              {.eventClass = TRX_NVME_EVT_CLASS_VD,
               .code = text.code,
               .device = volume,
               .severity = text.severity,
               .parameters = 1,
               .parameter = volume});
}

void journalActivity(Adapter &adapter, Millis now, VolumeEvent block, Step step, uint16_t volume,
                     uint32_t percent) {
  const char *word = block == VolumeEvent::Init      ? "init"
                     : block == VolumeEvent::Rebuild ? "rebuild"
                                                     : "media Patrol";
  char text[96];
  if (step == Step::Progress)
    std::snprintf(text, sizeof text, "%s on virtual disk %u is %u%% done", word, volume, percent);
  else
    std::snprintf(text, sizeof text, kStepTexts[static_cast<size_t>(step)], word, volume);
  journalLine(adapter, now, text,
              {.eventClass = TRX_NVME_EVT_CLASS_VD,
               .code = static_cast<uint16_t>(static_cast<uint16_t>(block) + static_cast<uint16_t>(step)),
               .device = volume,
               .severity = step == Step::Aborted ? uint8_t{TRX_NVME_EVT_SEVERITY_WARNING} : uint8_t{},
               .parameters = static_cast<uint8_t>(step == Step::Progress ? 2 : 1),
               .parameter = step == Step::Progress ? percent : volume});
}

void journalDisk(Adapter &adapter, Millis now, DiskEvent event, uint16_t disk) {
  const Text &text = textOf(kDiskTexts, static_cast<uint16_t>(event));
  journalLine(adapter, now, filled(text.format, disk),
              {.eventClass = TRX_NVME_EVT_CLASS_PD,
               .code = text.code,
               .device = disk,
               .severity = text.severity,
               .parameters = 1,
               .parameter = disk});
}

void journalAdapter(Adapter &adapter, Millis now, AdapterEvent event, uint32_t parameter) {
  const Text &text = textOf(kAdapterTexts, static_cast<uint16_t>(event));
  journalLine(adapter, now, filled(text.format, parameter),
              {.eventClass = TRX_NVME_EVT_CLASS_ADAPTER,
               .code = text.code,
               .severity = text.severity,
               .parameters = 1,
               .parameter = parameter});
}

}  // namespace sim
