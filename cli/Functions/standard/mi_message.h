// SPDX-License-Identifier: GPL-3.0-or-later
// NVMe-MI request messages in NVMe-MI Send and NVMe-MI Receive (NVMe base standard, opcodes 1Dh and
// 1Eh), and the options of the commands that tunnel them.
#ifndef TRX_CLI_MI_MESSAGE_H
#define TRX_CLI_MI_MESSAGE_H

#include <span>
#include <vector>

#include "Public/files.h"
#include "Public/options.h"
#include "Public/request.h"

namespace trx {

/// Second byte of a message: what it carries.
enum class MiKind : TRX_U8 {
  Command = 0x08,       ///< an NVMe-MI command
  AdminCommand = 0x10,  ///< an NVMe admin command, its 16 dwords from byte 4
};

/// Opcodes of NVMe-MI commands.
enum : TRX_U8 { kMiVpdRead = 5, kMiVpdWrite = 6 };

/// Byte offsets in a message.
enum : size_t { kMiOpcode = 4, kMiRequestDw0 = 8, kMiRequestDw1 = 12, kMiRequestData = 16 };

/// Bytes of a VPD message without data that lies beyond it.
inline constexpr size_t kMiVpdMessageBytes = 1040;

/// A request message. What is not set is zero.
class MiMessage {
 public:
  /// Longest message: its length travels in 16 bits.
  static constexpr size_t kLongest = 0xFFFF;

  /// @param bytes length of the message, from kMiRequestData to kLongest
  MiMessage(MiKind kind, TRX_U8 opcode, size_t bytes);

  /// Set the little-endian dword at a byte offset.
  MiMessage &set(size_t offset, TRX_U32 value);

  /// The bytes of the message; they live as long as it does.
  std::span<TRX_U8> bytes();

  /// NVMe-MI Send to the current adapter: CDW10 is 0, CDW11 the length in dwords less one.
  /// @return the library's status
  TRX_U32 send();

 private:
  size_t length_;
  std::vector<Page> pages_;
};

/// A response, as NVMe-MI Receive gives it.
struct MiResponse {
  static constexpr size_t kDataOffset = 8;

  Page page;

  std::span<const TRX_U8> data() const { return std::span(page.bytes).subspan(kDataOffset); }
};

/// Send a message and receive its response, with the lines "MI send for VPD read failed.\n", "MI
/// receive for VPD read failed.\n" or "MI send for VPD read success.\n".
/// @return the library's status
TRX_U32 miExchange(MiMessage &message, MiResponse &response);

/// What the user gives to these commands.
struct MiOptions {
  Counted<TRX_U32> disk;    ///< zero-based whatever the user counts from: this is meant
  Counted<TRX_U32> offset;  ///< bytes
  Counted<TRX_U32> length;  ///< bytes
  Counted<bool> file;       ///< that a file was named
  CommandFile data;         ///< the file, open
};

bool readOffset(MiOptions &o, const char *text);
bool readLength(MiOptions &o, const char *text);
bool openOutput(MiOptions &o, const char *text);

// clang-format off
inline constexpr OptionRow<MiOptions> kMiOffset{"offset", 'o', Argument::Required, readOffset};
inline constexpr OptionRow<MiOptions> kMiLength{"datalen", 'l', Argument::Required, readLength};
inline constexpr OptionRow<MiOptions> kMiOutputFile{"outputfile", 'f', kPath, openOutput};
// clang-format on

/// What the pass-through commands answer to a line without any words: short help and help without
/// "Description", unlike the other commands. This is meant.
/// @return 1
int32_t printBareHelp(const Command_Info *row);

/// Whether offset and length together go beyond `end` bytes.
bool exceeds(const MiOptions &o, TRX_U32 end);

/// Two lines on standard output: offset and length as the message's Request DW0 and DW1.
void traceRequest(const MiOptions &o);

/// Write the first `length` bytes of the response's data to the file that was named, at most what
/// the response holds.
/// @return whether all that is there was written
bool writeData(MiOptions &o, const MiResponse &response);

}  // namespace trx

#endif  // TRX_CLI_MI_MESSAGE_H
