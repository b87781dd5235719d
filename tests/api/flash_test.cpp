// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/flash.h"

#include <sys/stat.h>

#include <chrono>
#include <thread>

#include "api_test.h"
#include "function/imagecheck.h"

namespace {

class Flash : public ApiTest {
 protected:
  NVME_Flash_Result run(std::string path, TRX_U8 fs = 2, TRX_U8 ca = 1, TRX_U8 type = 0, TRX_U8 adapter = 0) {
    NVME_Flash_Result result{};
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(TRX_Adapter_Flash(adapter, path.data(), fs, ca, type), 0u);
    do {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      EXPECT_EQ(TRX_Adapter_Flash_Result(adapter, &result), 0u);
    } while (result.status);
    testing::internal::GetCapturedStdout();
    error = testing::internal::GetCapturedStderr();
    return result;
  }

  // The commands as "opcode:CDW10:CDW11", with the length of what was sent.
  std::string traffic() const {
    std::string text;
    for (const Command &command : platform.commands) {
      char line[64];
      snprintf(line, sizeof line, "%x:%x:%x+%zu ", command.io.cmd.opcode, command.io.cmd.cdw10,
               command.io.cmd.cdw11, command.sent.size());
      text += line;
    }
    return text;
  }

  std::string error;  ///< what the last run said on standard error
};

Bytes image(size_t size) {
  Bytes bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i / 4096 * 16 + 1);
  return bytes;
}

// With a word at its end that makes the sum zero.
Bytes goodImage(size_t size) {
  Bytes bytes = image(size);
  TRX_U32 sum = 0;
  for (size_t at = 0; at + 4 < size; at += 4) {
    TRX_U32 word = 0;
    std::memcpy(&word, &bytes[at], 4);
    sum -= word;
  }
  std::memcpy(&bytes[size - 4], &sum, 4);
  return bytes;
}

TEST(ImageCheck, HasTheStandardCrcAndTheWordSum) {
  const std::string check = "123456789";
  EXPECT_EQ(~crc32(0xFFFFFFFF, check.data(), 9), 0xCBF43926u);
  EXPECT_EQ(crc32(crc32(0xFFFFFFFF, check.data(), 4), check.data() + 4, 5),
            crc32(0xFFFFFFFF, check.data(), 9));
  Bytes padded(4096);
  std::copy(check.begin(), check.end(), padded.begin());
  EXPECT_EQ(crcMake(check.data(), 9), __builtin_bswap32(crc32(0xFFFFFFFF, padded.data(), 4096)));
  EXPECT_EQ(checksumResult(goodImage(8192).data(), 8192), 0u);

  // Against the definition, a bit at a time, at every length around a step.
  Bytes bytes(4100);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * i + 3 * i + 1);
  TRX_U32 slow = 0xFFFFFFFF;
  for (size_t length = 0; length < bytes.size(); ++length) {
    if (length < 40 || length > 4090) {
      EXPECT_EQ(crc32(0xFFFFFFFF, bytes.data(), length), slow) << length;
    }
    slow ^= bytes[length];
    for (int bit = 0; bit < 8; ++bit) slow = slow >> 1 ^ (slow & 1) * 0xEDB88320u;
  }
  for (const size_t length : std::initializer_list<size_t>{0, 1, 4095, 4096, 4097}) {
    Bytes whole = head(bytes, length);
    whole.resize((length + 4095) / 4096 * 4096);
    EXPECT_EQ(crcMake(bytes.data(), length), __builtin_bswap32(crc32(0xFFFFFFFF, whole.data(), whole.size())))
        << length;
  }
  for (const size_t length : std::initializer_list<size_t>{1, 3, 4, 4095, 4097, 8190})
    EXPECT_EQ(checksumResult(Bytes(8192).data(), length), 1u) << length;
  Bytes words(4096);
  words[0] = 0xFF, words[1] = 1, words[4092] = 2, words[4095] = 0x80;
  EXPECT_EQ(checksumResult(words.data(), 4096), 0x80000201u);
  EXPECT_EQ(checksumResult(nullptr, 0), 0u);
}

TEST_F(Flash, SendsAPlainImageInSegments) {
  start();
  platform.answer = [](const Command &) { return Reply{}; };
  const TemporaryFile file("img.bin", image(10000));
  EXPECT_EQ(run("'" + file.path() + "'").percentage, 100);
  EXPECT_EQ(traffic(), "11:3ff:0+4096 11:3ff:400+4096 11:3ff:800+4096 10:a:0+0 ");
  const Bytes &last = platform.commands[2].sent;
  EXPECT_EQ(std::count(last.begin() + 1808, last.end(), 17), 2288) << "the rest of the segment before";
  for (const Command &command : platform.commands) EXPECT_EQ(command.io.addr % 4096, 0u);

  platform.commands.clear();
  const TemporaryFile tiny("img.bin", Bytes(100, 0x5A));
  EXPECT_EQ(run(tiny.path()).percentage, 100);
  Bytes segment(100, 0x5A);
  segment.resize(4096);
  EXPECT_EQ(platform.commands.at(0).sent, segment) << "nothing but zeros after its end";
}

TEST_F(Flash, SendsWhatItChecked) {
  start();
  const Bytes good = goodImage(8192);
  const TemporaryFile file("a", good);
  const std::string other = file.path() + "'";
  std::ofstream(other) << "another";
  platform.answer = [&](const Command &command) {
    std::filesystem::resize_file(file.path(), 1);  // it was checked, and is on its way
    if (command.io.cmd.opcode == TRX_OPCODE_CONTROLLER) {
      EXPECT_EQ(command.io.cmd.cdw12, 0x40BE0u);
      EXPECT_EQ(command.io.cmd.cdw13, 0x20585254u) << "TRX and a blank";
      EXPECT_EQ(command.io.cmd.cdw14, 0u);
      EXPECT_EQ(command.io.cmd.cdw15, crcMake(good.data(), good.size()));
    }
    return Reply{};
  };
  // Quotes: all before, one behind, once.
  EXPECT_EQ(run("'''" + file.path() + "'", 1, 1, 4).result, 0u);
  EXPECT_EQ(traffic(), "11:3ff:0+4096 11:3ff:400+4096 e2:0:0+0 10:9:0+0 ");
  EXPECT_EQ(platform.commands.at(0).sent, head(good, 4096));
  EXPECT_EQ(platform.commands.at(1).sent, Bytes(good.begin() + 4096, good.end()));
  platform.commands.clear();
  EXPECT_EQ(run("'" + other + "'").result, 0u);
  EXPECT_EQ(head(platform.commands.at(0).sent, 8), (Bytes{'a', 'n', 'o', 't', 'h', 'e', 'r', 0}));
}

TEST_F(Flash, SaysWhyThereIsNoImage) {
  start();
  const TemporaryFile file("img", goodImage(4096)), odd("img", goodImage(4100)), bad("img", image(4096));
  const std::string fifo = file.folder() + "/fifo", large = file.folder() + "/large";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::ofstream(large) << "";
  std::filesystem::resize_file(large, (uint64_t{1} << 32) - 4095);
  const std::tuple<std::string, TRX_U8, std::string> rows[] = {
      {"/nowhere", 0, "cannot be opened: No such file or directory"},
      {"", 0, "cannot be opened: No such file or directory"},
      {fifo, 0, "not a regular file"},
      {file.folder(), 0, "not a regular file"},
      {"/dev/zero", 0, "not a regular file"},
      {"/proc/self/mem", 0, "cannot be read: Input/output error"},
      {"/proc/version", 0, "changed while it was read"},          // longer than it says
      {"/sys/kernel/profiling", 0, "changed while it was read"},  // shorter than it says
      {large, 0, "too large, 4294963201 bytes of at most 4294963200"},
      {odd.path(), 1, "length 4100 is not a multiple of 4096"},
      {bad.path(), 1, "its words sum to 0x4040400, not to 0"},
  };
  for (const auto &[path, type, reason] : rows) {
    EXPECT_EQ(run(path, 1, 1, type).result, 1u) << path;
    EXPECT_EQ(error, "Firmware image " + path + ": " + reason + ".\n");
  }
  EXPECT_EQ(traffic(), "");
}

TEST_F(Flash, EndsWhereItFails) {
  const Reply bad = {.driverStatus = 5, .sct = 1, .sc = 7};
  const std::tuple<const char *, Bytes, TRX_U8, TRX_U8, std::vector<Reply>, TRX_U32, const char *, TRX_U8>
      rows[] = {
          {"segment", goodImage(12288), 1, 0, {{}, bad}, 0x107, "11:3ff:0+4096 11:3ff:400+4096 ", 66},
          {"segment of a vendor image", goodImage(8192), 1, 1, {bad}, 0x107, "11:3ff:0+4096 ", 50},
          {"activation", goodImage(4096), 1, 1, {{}, bad}, 0x107, "11:3ff:0+4096 e2:0:0+0 ", 100},
          {"commit", image(4096), 1, 0, {{}, bad}, 0x107, "11:3ff:0+4096 10:a:0+0 ", 100},
          {"word sum of a vendor image", image(4096), 1, 1, {}, 1, "", 1},
          {"commit only", {}, 2, 0, {{}}, 0, "10:12:0+0 ", 100},
          {"commit only, failed", {}, 3, 1, {bad}, 0x107, "10:1a:0+0 ", 100},
          {"vendor image", goodImage(4096), 1, 2, {{}, {}, {}}, 0, "11:3ff:0+4096 e2:0:0+0 10:a:0+0 ", 100},
          {"empty image", {}, 1, 0, {{}, {}}, 0, "11:3ff:0+4096 10:a:0+0 ", 100},
      };
  start();
  for (const auto &[what, content, ca, type, replies, status, expected, percentage] : rows) {
    platform.commands.clear();
    platform.replies.assign(replies.begin(), replies.end());
    const TemporaryFile file("img.bin", content);
    const NVME_Flash_Result result = run(file.path(), 2, ca, type);
    EXPECT_EQ(result.result, status) << what;
    EXPECT_EQ(result.percentage, percentage) << what;
    EXPECT_EQ(traffic(), expected) << what;
    EXPECT_TRUE(platform.replies.empty()) << what;
  }
  platform.commands.clear();
  EXPECT_EQ(run("/nowhere").percentage, 1) << "the commit has no device";
  EXPECT_EQ(run("/nowhere", 2, 2, 0, 5).result, 1u) << "no controller";
  EXPECT_EQ(run("/nowhere", 2, 2, 0, 33).result, 1u) << "no such number";
  EXPECT_EQ(traffic(), "");
}

TEST_F(Flash, AsksForTheActiveSlotOnce) {
  start();
  TRXFlash *flash = CreateTRXFlashAdapterInstance(1, TRX_NVME_COMMIT_ACTIVATE_NOW, 0);
  flash->init(flash, nullptr, 0);
  platform.replies.push_back({.data = Bytes(4096, 0x35)});
  for (int i = 0; i < 2; ++i) TRXFlash_query(flash);
  EXPECT_EQ(flash->m_slot, 5);
  EXPECT_EQ(traffic(), "2:3:0+0 ");
  flash->destructor(flash);
}

TEST_F(Flash, FinalWaitsForATransfer) {
  start();
  platform.answer = [](const Command &) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return Reply{};
  };
  const TemporaryFile file("img.bin", image(40960));
  std::string path = file.path();
  TRX_Adapter_Flash(0, path.data(), 1, 1, 0);
  TRX_Final();
  EXPECT_EQ(platform.commands.size(), 11u);
}

}  // namespace
