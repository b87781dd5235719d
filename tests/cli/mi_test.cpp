// SPDX-License-Identifier: GPL-3.0-or-later
// VPD through NVMe-MI messages, the tunnelled Identify, and the printer of what it brings.
#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <sstream>

#include "Functions/standard/identify_print.h"
#include "Play.h"
#include "RealData.h"

namespace trx::test {
namespace {

using namespace ::testing;

constexpr char kRead[] = "MI send for VPD read success.\n";

// Rows are read as tables.
// clang-format off

std::string dwords(const std::string &offset, const std::string &length) {
  return "offset mi_prp_data->Request_DW0: 0x" + offset + "\noffset mi_prp_data->Request_DW1: 0x" + length + "\n";
}

std::string put(CliSession &session, const char *name, const std::string &content) {
  std::filesystem::path path = session.host().directory() / name;
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

TEST(Vpd, IsWrittenAndReadBack) {
  CliSession session;
  std::string input = put(session, "in", "ABCDEFGHIJKLMNOP tail"), output = session.host().directory() / "out";
  CommandResult written = session.run("mi_passthruwrite -o 6 -l 4 -f " + input);
  EXPECT_EQ(written.out, "0x41 0x42 \n0x43 0x44 MI send for VPD write success.\n");
  EXPECT_EQ(written.library, dwords("6", "4"));
  // The message is as long as the file makes it; the dwords say less one.
  EXPECT_THAT(session.requests(), ElementsAre(HasSubstr(
      "op=1d nsid=0 cdw2=0 cdw10=0 cdw11=108 cdw12=0 cdw13=0 cdw14=0 cdw15=0 dir=0 len=1061 out=8408000006000000060000000400000041424344")));
  CommandResult shown = session.run("vpdread -o 6 -l 4");
  EXPECT_EQ(shown.out, std::string(kRead) + "content.....\n");
  EXPECT_THAT(shown.library, StartsWith(dwords("6", "4") + "\n0x41 0x42 0x43 0x44 0x0 0x0 0x0 0x0 \n0x0 "));
  EXPECT_EQ(std::count(shown.library.begin(), shown.library.end(), 'x'), 2 + 256);
  EXPECT_THAT(shown.library, EndsWith("0x0 \n"));
  EXPECT_THAT(session.requests(), ElementsAre(HasSubstr("cdw11=103 cdw12=0 cdw13=0 cdw14=0 cdw15=0 dir=0 len=1040 out=84080000050000000600000004"),
      EndsWith("op=1e nsid=0 cdw2=0 cdw10=0 cdw11=0 cdw12=0 cdw13=0 cdw14=0 cdw15=0 dir=1 len=4096")));
  CommandResult saved = session.run("vpdread -o 508 -l 4 -f \"" + output + "\"");
  EXPECT_EQ(saved.out, kRead);
  EXPECT_EQ(readFile(output), std::string(4, '\0'));
  // The other store is untouched, and this one is there for the next process.
  session.run("vpd -t spi");
  session.run("vpdread -o 0 -l 512 -f " + output);
  EXPECT_EQ(readFile(output), std::string(512, '\xff'));
  session.run("vpd -t eeprom");
  EXPECT_THAT(session.host().cli({"vpdread", "-o", "5", "-l", "8"}).out, HasSubstr("\n0x0 0x41 0x42 0x43 0x44 0x"));
  EXPECT_EQ(session.host().violations(), "");
}

TEST(Vpd, RefusesFilesAndRanges) {
  CliSession session;
  std::string small = put(session, "small", "12345"), large = put(session, "large", std::string(64496, 'x'));
  // Neither a negative number nor a wrap of the sum gets through.
  expectRefused(session, {
      {"vpdread -o 500 -l 13", "Invalid range via offset: 0x1f4, data length: 0xd"},
      {"vpdread -o 0xffffffff -l 10", "Invalid range via offset: 0xffffffff, data length: 0xa"}, {"vpdread -o -0x1 -l 10", "-o: Invalid offset value"},
      {"vpdread -o 0 -l 4294967296", "-l: Invalid data length value"}, {"vpdread -o x -l 10", "-o: Invalid offset value"},
      {"vpdread -o 0 -l -1", "-l: Invalid data length value"}, {"vpdread -o 0 -l 1 -f /nowhere/x", "Unable to open file '/nowhere/x': No such file or directory"},
      {"vpdread -l 1", "vpdread: option -o is required"}, {"vpdread -o 1", "vpdread: option -l is required"},
      {"mi_passthruwrite -o 200 -l 57 -f " + small, "Invalid range via offset:0xc8, data length:0x39"},
      {"mi_passthruwrite -o 0xffffffff -l 2 -f " + small, "Invalid range via offset:0xffffffff, data length:0x2"},
      {"mi_passthruwrite -o 0 -l 6 -f " + small, "Input file is shorter than data length: 0x5, data length: 0x6"},
      {"mi_passthruwrite -o 0 -l 6 -f " + large, "Input file is too long: 0xfbf0, at most 0xfbef"},
      {"mi_passthruwrite -o 0 -l 6 -f /", "Unable to open file '/': Is a directory"}, {"mi_passthruwrite -l 1", "mi_passthruwrite: option -o is required"},
      {"mi_passthruwrite -o 1", "mi_passthruwrite: option -l is required"}, {"mi_passthruwrite -o 1 -l 1", "mi_passthruwrite: option -f is required"},
  });
  std::filesystem::resize_file(large, 64495);
  EXPECT_THAT(session.run("mi_passthruwrite -o 255 -l 1 -f " + large).out, EndsWith("write success.\n"));
  EXPECT_THAT(session.requests(), ElementsAre(HasSubstr("cdw11=3ffe ")));
  EXPECT_EQ(session.host().violations(), "");
}

TEST(TunnelledIdentify, BringsTheDisksData) {
  CliSession session;
  g_oneBaseMode = 1;  // The id is counted from 0 all the same.
  std::string output = session.host().directory() / "out";
  CommandResult shown = session.run("mi_passthruread -i 2 -o 3 -l 0x10");
  EXPECT_EQ(shown.status, 0);
  EXPECT_EQ(shown.library, dwords("3", "10"));
  EXPECT_THAT(shown.out, StartsWith("after mi_prp_data as below:\nCDW0 0x84 0x10 0x00 0x00 \nCDW1 0xc2 0x00 0x00 0x00 \nCDW2 0x02 "));
  for (const char *text : {"\nCDW11 0x01 0x00 0x00 0x00 \n", "\nCDW15 0x06 0x00 0x00 0x00 \n\nMI send for VPD read success.\ncontent.....\n\nCDW0 0x10 0x7a ",
                         "\nCDW127 0x00 0x00 0x00 0x00 \nNVMe Identify Controller:\nVID      : 0x7a10\n", "\nMN       : Norvik Stream 3 1.92TB\n"})
    EXPECT_THAT(shown.out, HasSubstr(text));
  EXPECT_THAT(session.requests(), ElementsAre(HasSubstr("cdw10=0 cdw11=3ff cdw12=0 cdw13=0 cdw14=0 cdw15=0 dir=0 len=4096 out=84100000c200000002"), HasSubstr("op=1e ")));

  // The response holds 4088 bytes of data; no length brings more.
  CommandResult saved = session.run("mi_passthruread -i 2 -l 0 -l 5000 -f " + output);
  EXPECT_THAT(saved.out, HasSubstr("The response holds 4088 bytes of data, less than the data length 0x1388.\n\nNVMe"));
  EXPECT_THAT(readFile(output), SizeIs(4088));
  EXPECT_THAT(readFile(output).substr(24), StartsWith("Norvik Stream 3 1.92TB"));

  session.requests();
  expectRefused(session, {{"mi_passthruread -i x", "-o: Invalid pd id value"}});
  EXPECT_EQ(session.host().violations(), "");
}

TEST(MiMessages, TellWhichHalfFailed) {
  CliSession session;
  std::string input = put(session, "in", "1");
  const struct { std::string line; const char *opcode, *out; } rows[] = {
      {"vpdread -o 0 -l 1", "op=1d", "MI send for VPD read failed.\n"}, {"vpdread -o 0 -l 1", "op=1e", "MI receive for VPD read failed.\n"},
      {"mi_passthruread -i 0", "op=1d", "\n\nMI send for VPD read failed.\n"}, {"mi_passthruread -i 0", "op=1e", "\n\nMI receive for VPD read failed.\n"},
      {"mi_passthruwrite -o 0 -l 1 -f " + input, "op=1d", "MI send for VPD write failed.\n"},
  };
  for (const auto &row : rows) {
    session.host().sim("fault", {"add", row.opcode, "nvme=0x706"});
    CommandResult result = session.run(row.line);
    EXPECT_EQ(result.status, 0x706) << row.line;
    EXPECT_THAT(result.out, EndsWith(row.out));
  }
  EXPECT_EQ(session.run("mi_passthruread -i 99").status, 0x706);
  EXPECT_EQ(session.host().violations(), "");
}

/// The printed fields by their names in lower case.
std::map<std::string, std::string> printed(std::span<const uint8_t> data) {
  std::istringstream lines(outputOf([data] { printIdentifyController(data); }));
  std::map<std::string, std::string> fields;
  for (std::string line; std::getline(lines, line);) {
    size_t colon = line.find(" : ");
    if (colon == std::string::npos) continue;
    std::string name = line.substr(0, line.find(' '));
    for (char &letter : name) letter = static_cast<char>(std::tolower(letter));
    fields[name] = line.substr(colon + 3);
  }
  return fields;
}

TEST(IdentifyPrinter, AgreesWithReadingsOfRealDrives) {
  std::filesystem::path folder = realData("nvme/identify");
  size_t read = 0;
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << folder;
  for (const auto &entry : std::filesystem::directory_iterator(folder)) {
    std::string name = entry.path().string();
    constexpr std::string_view kEnd = ".nvme-cli.json";
    if (!name.ends_with(kEnd)) continue;
    auto reading = readJson(name);
    if (!reading.contains("vid")) continue;
    std::string bytes = readFile(name.substr(0, name.size() - kEnd.size()) + ".bin");
    auto fields = printed({reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()});
    EXPECT_THAT(fields, SizeIs(28));
    for (const auto &[field, value] : fields) {
      SCOPED_TRACE(name + " " + field);
      const auto &expected = reading.at(field);
      if (expected.is_number()) {
        EXPECT_EQ(std::stoull(value, nullptr, 0), expected.get<uint64_t>());
      } else {
        EXPECT_EQ(value, std::regex_replace(expected.get<std::string>(), std::regex(" +$"), ""));
      }
    }
    ++read;
  }
  EXPECT_GT(read, 0U);
}

TEST(IdentifyPrinter, ReadsEveryFieldAtItsPlace) {
  std::string data(4096, '\0');
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i + i / 256 * 7 + 1);
  data.replace(4, 68, "SERIAL 1            MODEL 2                                 REV 3   ");
  data.replace(768, 6, "nqn.4\0", 6);
  std::string out = outputOf([&] { printIdentifyController({reinterpret_cast<const uint8_t *>(data.data()), data.size()}); });
  EXPECT_EQ(std::regex_replace(out, std::regex(" +: |\n"), "|"),
            "|NVMe Identify Controller:|VID|0x201|SSVID|0x403|SN|SERIAL 1|MN|MODEL 2|FR|REV 3|RAB|73|IEEE|0x4c4b4a|CMIC|0x4d|MDTS|78|CNTLID|0x504f|"
            "VER|0x54535251|OACS|0x908|ACL|10|AERL|11|FRMW|0xc|LPA|0xd|ELPE|14|NPSS|15|WCTEMP|4882|CCTEMP|5396|"
            "TNVMCAP|62713477665213787714649462444633760032|UNVMCAP|84064528138684436402547477028587843888|SQES|0xf|CQES|0x10|NN|370480147|"
            "ONCS|0x1817|VWC|0x1c|SUBNQN|nqn.4|");
}

TEST(IdentifyPrinter, PrintsWideCapacitiesExactly) {
  std::vector<uint8_t> data(4088, 0);
  std::fill_n(data.begin() + 280, 16, uint8_t{0xFF});
  data[296 + 8] = 1;
  auto fields = printed(data);
  EXPECT_EQ(fields["tnvmcap"], "340282366920938463463374607431768211455");
  EXPECT_EQ(fields["unvmcap"], "18446744073709551616");
  EXPECT_EQ(printed(std::span(data).first(283))["tnvmcap"], "16777215");
}

// clang-format on

}  // namespace
}  // namespace trx::test
