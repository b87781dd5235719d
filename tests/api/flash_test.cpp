// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/flash.h"

#include <sys/stat.h>
#include <unistd.h>

#include "api_test.h"
#include "function/imagecheck.h"

namespace {

class Flash : public StartedTest {
 protected:
  // How far it came, with which result, and what was sent; what it writes is kept.
  std::string run(std::string path, TRX_U8 fs = 2, TRX_U8 ca = 1, TRX_U8 type = 0, TRX_U8 adapter = 0) {
    NVME_Flash_Result result{};
    platform.commands.clear();
    said = printed([&] {
      const WithoutInput none;
      EXPECT_EQ(TRX_Adapter_Flash(adapter, path.data(), fs, ca, type), 0u);
      do {
        usleep(1000);
        EXPECT_EQ(TRX_Adapter_Flash_Result(adapter, &result), 0u);
      } while (result.status);
    });
    return std::to_string(result.percentage) + "% " + std::to_string(result.result) + " " + traffic();
  }

  std::string said;
};

Bytes image(size_t size) {
  Bytes bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i / 4096 * 16 + 1);
  return bytes;
}

// With a word at its end that makes the sum zero.
Bytes goodImage(size_t size) {
  const Bytes bytes = image(size);
  TRX_U32 sum = 0;
  for (size_t at = 0; at + 4 < size; at += 4) sum -= bytes[at] * 0x01010101u;
  return head(bytes, size - 4) + bytesOf(sum);
}

TEST(ImageCheck, HasTheStandardCrcAndTheWordSum) {
  // Against the definition, a bit at a time, at every length.
  Bytes bytes(4100);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * i + 3 * i + 1);
  TRX_U32 slow = 0xFFFFFFFF;
  for (size_t length = 0; length < bytes.size(); ++length) {
    ASSERT_EQ(crc32(0xFFFFFFFF, bytes.data(), length), slow) << length;
    slow ^= bytes[length];
    for (int bit = 0; bit < 8; ++bit) slow = slow >> 1 ^ (slow & 1) * 0xEDB88320u;
  }
  for (const size_t length : std::initializer_list<size_t>{0, 1, 4095, 4096, 4097}) {
    const Bytes whole = head(bytes, length) + Bytes((8192 - length) % 4096);
    const TRX_U32 crc = crc32(0xFFFFFFFF, whole.data(), whole.size());
    EXPECT_EQ(crcMake(bytes.data(), length), __builtin_bswap32(crc)) << length;
  }
  for (const size_t length : std::initializer_list<size_t>{1, 3, 4, 4095, 4097, 8190})
    EXPECT_EQ(checksumResult(Bytes(8192).data(), length), 1u) << length;
  const Bytes words = Bytes{0xFF, 1} + Bytes(4090) + Bytes{2, 0, 0, 0x80};
  EXPECT_EQ(checksumResult(words.data(), 4096), 0x80000201u);
  EXPECT_EQ(checksumResult(nullptr, 0), 0u);
}

TEST_F(Flash, SendsAPlainImageInSegments) {
  platform.answer = success;
  const TemporaryFile file("img.bin", image(10000)), tiny("img.bin", Bytes(100, 0x5A));
  EXPECT_EQ(run("'" + file.path + "'"),
            "100% 0 11:0:3ff:0:0:0:0:0+4096 11:0:3ff:400:0:0:0:0+4096 11:0:3ff:800:0:0:0:0+4096 "
            "10:0:a:0:0:0:0:0+0 ");
  const Bytes &last = platform.commands[2].sent;
  EXPECT_EQ(std::count(last.begin() + 1808, last.end(), 17), 2288) << "the rest of the segment before";
  for (const Command &command : platform.commands) EXPECT_EQ(command.io.addr % 4096, 0u);
  EXPECT_EQ(run(tiny.path).substr(0, 4), "100%");
  EXPECT_EQ(platform.commands.at(0).sent, Bytes(100, 0x5A) + Bytes(3996)) << "zeros after its end";
}

TEST_F(Flash, SendsWhatItChecked) {
  const Bytes good = goodImage(8192);
  const TemporaryFile file("a", good);
  const std::string other = file.path + "'";
  std::ofstream(other) << "another";
  platform.answer = [&](const Command &) {
    std::filesystem::resize_file(file.path, 1);  // it was checked, and is on its way
    return Reply{};
  };
  // Quotes: all before, one behind, once.
  EXPECT_EQ(run("'''" + file.path + "'", 1, 1, 4),
            "100% 0 11:0:3ff:0:0:0:0:0+4096 11:0:3ff:400:0:0:0:0+4096 e2:0:0:0:40be0:20585254:0:96798643+0 "
            "10:0:9:0:0:0:0:0+0 ");
  EXPECT_EQ(platform.commands.at(0).sent + platform.commands.at(1).sent, good);
  run("'" + other + "'");
  EXPECT_EQ(head(platform.commands.at(0).sent, 8), Bytes{} + "another" + Bytes(1));
}

TEST_F(Flash, SaysWhyThereIsNoImage) {
  const TemporaryFile file("img", goodImage(4096)), odd("img", goodImage(4100)), bad("img", image(4096));
  const std::string fifo = file.folder + "/fifo", large = file.folder + "/large";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::ofstream(large) << "";
  std::filesystem::resize_file(large, (uint64_t{1} << 32) - 4095);
  const std::tuple<std::string, TRX_U8, std::string> rows[] = {
      {"/nowhere", 0, "cannot be opened: No such file or directory"},
      {"", 0, "cannot be opened: No such file or directory"},
      {fifo, 0, "not a regular file"},
      {file.folder, 0, "not a regular file"},
      {"/dev/zero", 0, "not a regular file"},
      {"/proc/self/mem", 0, "cannot be read: Input/output error"},
      {"/proc/version", 0, "changed while it was read"},          // longer than it says
      {"/sys/kernel/profiling", 0, "changed while it was read"},  // shorter than it says
      {large, 0, "too large, 4294963201 bytes of at most 4294963200"},
      {odd.path, 1, "length 4100 is not a multiple of 4096"},
      {bad.path, 1, "its words sum to 0x4040400, not to 0"},
  };
  for (const auto &[path, type, reason] : rows) {
    EXPECT_EQ(run(path, 1, 1, type), "1% 1 ") << path;
    EXPECT_EQ(said, "2>Firmware image " + path + ": " + reason + ".\n");
  }
  std::filesystem::resize_file(large, (uint64_t{1} << 32) - 4096);
  readError = EIO;
  run(large);
  readError = 0;
  EXPECT_EQ(said.find("too large"), said.npos) << said;
}

TEST_F(Flash, EndsWhereItFails) {
  const Reply bad = {.driverStatus = 5, .sct = 1, .sc = 7};
  // clang-format off
  const std::tuple<const char *, Bytes, TRX_U8, TRX_U8, std::deque<Reply>, const char *> rows[] = {
      {"segment",                   goodImage(12288), 1, 0, {{}, bad}, "66% 263 11:0:3ff:0:0:0:0:0+4096 11:0:3ff:400:0:0:0:0+4096 "},
      {"segment of a vendor image", goodImage(8192),  1, 1, {bad}, "50% 263 11:0:3ff:0:0:0:0:0+4096 "},
      {"activation",                goodImage(4096),  1, 1, {{}, bad}, "100% 263 11:0:3ff:0:0:0:0:0+4096 e2:0:0:0:10be0:20585254:0:3c80e61b+0 "},
      {"commit",                    image(4096),      1, 0, {{}, bad}, "100% 263 11:0:3ff:0:0:0:0:0+4096 10:0:a:0:0:0:0:0+0 "},
      {"word sum of a vendor image", image(4096),     1, 1, {}, "1% 1 "},
      {"commit only",               {},               2, 0, {{}}, "100% 0 10:0:12:0:0:0:0:0+0 "},
      {"commit only, failed",       {},               3, 1, {bad}, "100% 263 10:0:1a:0:0:0:0:0+0 "},
      {"vendor image",              goodImage(4096),  1, 2, {{}, {}, {}}, "100% 0 11:0:3ff:0:0:0:0:0+4096 e2:0:0:0:20be0:20585254:0:3c80e61b+0 10:0:a:0:0:0:0:0+0 "},
      {"empty image",               {},               1, 0, {{}, {}}, "100% 0 11:0:3ff:0:0:0:0:0+4096 10:0:a:0:0:0:0:0+0 "},
  };
  // clang-format on
  for (const auto &[what, content, ca, type, replies, expected] : rows) {
    platform.replies = replies;
    EXPECT_EQ(run(TemporaryFile("img.bin", content).path, 2, ca, type), expected) << what;
    EXPECT_TRUE(platform.replies.empty()) << what;
  }
  EXPECT_EQ(run("/nowhere"), "1% 1 ") << "the commit has no device";
  EXPECT_EQ(run("/nowhere", 2, 2, 0, 5), "100% 1 ") << "no controller";
  EXPECT_EQ(run("/nowhere", 2, 2, 0, 33), "0% 1 ") << "no such number";
}

TEST_F(Flash, StopsBeforeItsNextSegment) {
  const TemporaryFile file("img", goodImage(12288));
  platform.answer = [&](const Command &) {
    TRX_Adapter_Flash_Stop(0);
    return Reply{};
  };
  EXPECT_EQ(run(file.path, 1, 1, 1), "33% 1 11:0:3ff:0:0:0:0:0+4096 ");
  platform.answer = success;
  EXPECT_EQ(run(file.path).substr(0, 7), "100% 0 ") << "the next transfer is not stopped";
}

TEST_F(Flash, AsksForTheActiveSlotOnce) {
  TRXFlash *flash = CreateTRXFlashAdapterInstance(1, TRX_NVME_COMMIT_ACTIVATE_NOW, 0);
  flash->init(flash, nullptr, 0);
  platform.replies.push_back({.data = Bytes(4096, 0x35)});
  for (int i = 0; i < 2; ++i) TRXFlash_query(flash);
  EXPECT_EQ(flash->m_slot, 5);
  EXPECT_EQ(traffic(), "2:0:3:0:0:0:0:0+0 ");
  flash->destructor(flash);
}

}  // namespace
