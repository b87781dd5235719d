// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/standard/identify_print.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "Public/listing.h"
#include "Public/report.h"

namespace trx {
namespace {

/// The standard's names, and those of the facts.
class Printer {
 public:
  Printer() : listing_(kWidth, data().object("identify_controller")) {}

  void number(const char *name, const char *key, TRX_U32 value) { row(name, key, int64_t{value}); }
  void hex(const char *name, const char *key, TRX_U32 value) { row(name, key, Hex{value}); }
  void bytes(const char *name, const char *key, const TRX_U8 (&value)[16]) {
    row(name, key, Counter{std::to_array(value)});
  }
  /// 0 K is none.
  void kelvin(const char *name, const char *key, TRX_U32 value) {
    listing_.text(label(name).c_str(), int64_t{value});
    listing_.fact(key, value == 0 ? Value() : Value(int64_t{value}));
  }
  /// Text is padded with blanks at its end, which say nothing.
  void string(const char *name, const char *key, std::span<const TRX_U8> field) {
    const std::string text = deviceText(field);
    listing_.text(label(name).c_str(), text.substr(0, text.find_last_not_of(' ') + 1));
    listing_.fact(key, DeviceField{field});
  }

 private:
  static constexpr int kWidth = 10;  // with the colon

  static std::string label(std::string name) {
    name.resize(kWidth - 2, ' ');
    return name + " :";
  }
  void row(const char *name, const char *key, const Value &value) {
    listing_.row(label(name).c_str(), key, value);
  }

  Listing listing_;
};

/// The organisation's identifier is stored with its least significant byte first.
TRX_U32 ieeeOui(const TRX_U8 (&bytes)[3]) {
  return static_cast<TRX_U32>(bytes[0] | bytes[1] << 8 | bytes[2] << 16);
}

void printCapabilities(Printer &print, const TRX_ID_CONTROLLER &id) {
  print.hex("OACS", "oacs", id.OACS);
  print.number("ACL", "acl", id.ACL);
  print.number("AERL", "aerl", id.AERL);
  print.hex("FRMW", "frmw", id.FRMW);
  print.hex("LPA", "lpa", id.LPA);
  print.number("ELPE", "elpe", id.ELPE);
  print.number("NPSS", "npss", id.NPSS);
  print.kelvin("WCTEMP", "wctemp_kelvin", id.WCTEMP);
  print.kelvin("CCTEMP", "cctemp_kelvin", id.CCTEMP);
  print.bytes("TNVMCAP", "tnvmcap_bytes", id.TNVMCAP);
  print.bytes("UNVMCAP", "unvmcap_bytes", id.UNVMCAP);
  print.hex("SQES", "sqes", id.SQES);
  print.hex("CQES", "cqes", id.CQES);
  print.number("NN", "nn", id.NN);
  print.hex("ONCS", "oncs", id.ONCS);
  print.hex("VWC", "vwc", id.VWC);
}

}  // namespace

void printIdentifyController(std::span<const TRX_U8> data) {
  TRX_ID_CONTROLLER id{};
  std::memcpy(&id, data.data(), std::min(data.size(), sizeof id));

  heading("\nNVMe Identify Controller:\n");
  Printer print;
  print.hex("VID", "vid", id.VID);
  print.hex("SSVID", "ssvid", id.SSVID);
  print.string("SN", "serial", id.SN);
  print.string("MN", "model", id.MN);
  print.string("FR", "firmware_version", id.FR);
  print.number("RAB", "rab", id.RAB);
  print.hex("IEEE", "ieee", ieeeOui(id.IEEE));
  print.hex("CMIC", "cmic", id.CMIC);
  print.number("MDTS", "mdts", id.MDTS);
  print.hex("CNTLID", "cntlid", id.CNTLID);
  print.hex("VER", "ver", id.VER);
  printCapabilities(print, id);
  print.string("SUBNQN", "subnqn", id.SUBNQN);
}

}  // namespace trx
