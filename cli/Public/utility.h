// SPDX-License-Identifier: GPL-3.0-or-later
/// @file
/// Small routines and messages that the commands share.
#ifndef TRX_PUBLIC_UTILITY_H
#define TRX_PUBLIC_UTILITY_H

#include <cstddef>
#include <cstdint>

namespace trx {

/// Arguments: command word. The slips in the wording stay: scripts look for it.
inline constexpr char OptionNotRequired[] = "%s: option rawfiles is only using for action: update\n";
/// Arguments: command word, option letter.
inline constexpr char OptionRequired[] = "%s: option -%c is required\n";
inline constexpr char ErrorDuplicate[] = "Duplicated option specified.\n";

/// Reflected CRC-32 (IEEE 802.3, polynomial EDB88320h) that starts at FFFFFFFFh and is not inverted at
/// the end, as the controller computes it.
///
/// @param length in bytes; only its low 16 bits count, so 65536 bytes are none
/// @return FFFFFFFFh for no bytes; `data` is not read then
uint32_t calCRC32(const void *data, size_t length);

/// `base` to the power of `exponent`, each cut to its low 8 bits.
/// @return the low 32 bits of the power; 0 when it does not fit into 63 bits
uint32_t pow_nvme(uint32_t base, uint32_t exponent);

/// Lower the letters A to Z in place. @return `text`
char *strlwr(char *text);

/// Whether every character is a digit 0 to 9: true for an empty text, false for a sign or for null (an
/// optional argument that was not given).
bool isNumber(const char *text);

/// RAID level (`TRX_RAID_MODE`) for "0", "1", "10", "5", "50", "6", "60" or "JBOD"; 255 for any other
/// text and for null.
uint8_t chooseRaidMode(const char *text);

/// The texts of `chooseRaidMode` that an adapter supports, by index; null past the last.
/// @param supported bits of `SupportRAIDMode`
const char *raidModeWord(size_t index, uint16_t supported);

/// Name such as "RAID10" for the low 8 bits of a RAID level; "unknown" for any other.
const char *RaidModeStr(uint32_t code);

/// `TRX_BGA_OPERATION` for "start" (start) and "stop" (abort); 255 for any other text and for null.
uint8_t chooseBGAAction(const char *text);

}  // namespace trx

#endif  // TRX_PUBLIC_UTILITY_H
