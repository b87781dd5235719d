// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/standard/identify_print.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "Public/common.h"
#include "Public/listing.h"

namespace trx {
namespace {

constexpr int kLabelWidth = 8;

void printField(const char *name, const std::string &value) {
  std::fprintf(stream, "%-*s : %s\n", kLabelWidth, name, value.c_str());
}

void printNumber(const char *name, TRX_U32 value) {
  std::fprintf(stream, "%-*s : %u\n", kLabelWidth, name, value);
}

void printHex(const char *name, TRX_U32 value) {
  std::fprintf(stream, "%-*s : 0x%x\n", kLabelWidth, name, value);
}

/// Text is padded with blanks at its end, which say nothing.
void printString(const char *name, std::span<const TRX_U8> field) {
  std::string text = deviceText(field);
  printField(name, text.substr(0, text.find_last_not_of(' ') + 1));
}

/// A little-endian number of 16 bytes, exactly: no built-in printing goes beyond 64 bits.
std::string decimal128(const TRX_U8 (&bytes)[16]) {
  TRX_U8 number[16];
  std::copy(std::begin(bytes), std::end(bytes), number);
  std::string digits;
  do {
    unsigned remainder = 0;
    for (size_t i = sizeof number; i-- > 0;) {
      unsigned part = remainder << 8 | number[i];
      number[i] = static_cast<TRX_U8>(part / 10);
      remainder = part % 10;
    }
    digits += static_cast<char>('0' + remainder);
  } while (std::any_of(std::begin(number), std::end(number), [](TRX_U8 byte) { return byte != 0; }));
  std::reverse(digits.begin(), digits.end());
  return digits;
}

/// The organisation's identifier is stored with its least significant byte first.
TRX_U32 ieeeOui(const TRX_U8 (&bytes)[3]) {
  return static_cast<TRX_U32>(bytes[0] | bytes[1] << 8 | bytes[2] << 16);
}

void printCapabilities(const TRX_ID_CONTROLLER &id) {
  printHex("OACS", id.OACS);
  printNumber("ACL", id.ACL);
  printNumber("AERL", id.AERL);
  printHex("FRMW", id.FRMW);
  printHex("LPA", id.LPA);
  printNumber("ELPE", id.ELPE);
  printNumber("NPSS", id.NPSS);
  printNumber("WCTEMP", id.WCTEMP);
  printNumber("CCTEMP", id.CCTEMP);
  printField("TNVMCAP", decimal128(id.TNVMCAP));
  printField("UNVMCAP", decimal128(id.UNVMCAP));
  printHex("SQES", id.SQES);
  printHex("CQES", id.CQES);
  printNumber("NN", id.NN);
  printHex("ONCS", id.ONCS);
  printHex("VWC", id.VWC);
}

}  // namespace

void printIdentifyController(std::span<const TRX_U8> data) {
  TRX_ID_CONTROLLER id{};
  std::memcpy(&id, data.data(), std::min(data.size(), sizeof id));

  std::fputs("\nNVMe Identify Controller:\n", stream);
  printHex("VID", id.VID);
  printHex("SSVID", id.SSVID);
  printString("SN", id.SN);
  printString("MN", id.MN);
  printString("FR", id.FR);
  printNumber("RAB", id.RAB);
  printHex("IEEE", ieeeOui(id.IEEE));
  printHex("CMIC", id.CMIC);
  printNumber("MDTS", id.MDTS);
  printHex("CNTLID", id.CNTLID);
  printHex("VER", id.VER);
  printCapabilities(id);
  printString("SUBNQN", id.SUBNQN);
}

}  // namespace trx
