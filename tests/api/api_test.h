// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_TESTS_API_TEST_H
#define TRX_TESTS_API_TEST_H

#include <gtest/gtest.h>
#include <semaphore.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "device/common/Device.h"
#include "fake_platform.h"
#include "interface/request.h"
#include "trx/trx_api.h"
#include "trx/trx_product.h"

/// What every read fails with, when it is not 0.
extern "C" int readError;

template <typename Record>
Bytes bytesOf(const Record &record) {
  const auto *bytes = reinterpret_cast<const uint8_t *>(&record);
  return {bytes, bytes + sizeof record};
}

/// The first bytes of something.
inline Bytes head(const Bytes &bytes, size_t length) {
  return {bytes.begin(), bytes.begin() + static_cast<long>(length)};
}

inline Bytes operator+(Bytes left, const Bytes &right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

inline Bytes operator+(const Bytes &left, const std::string &right) {
  return left + Bytes(right.begin(), right.end());
}

inline Reply identifyReply(TRX_U16 vendor = TRX_VENDOR_ID, const std::string &serial = "") {
  return {.data = bytesOf(vendor) + Bytes(2) + serial};
}

inline Reply controllerInformation(TRX_U16 device = TRX_DEVICE_ID) {
  return {.data = Bytes(28) + bytesOf(device) + Bytes(4096 - 30)};
}

/// What a receive brings back.
inline Reply envelope(uint8_t status, const Bytes &data = {}, const char *sign = "TRX") {
  return {.data = Bytes{} + sign + Bytes{0, status, 0, 0, 0} + data + Bytes(4096 - 8 - data.size())};
}

/// What a call writes: standard output, and after "2>" standard error.
template <typename Call>
std::string printed(Call call) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  call();
  const std::string error = testing::internal::GetCapturedStderr();
  return testing::internal::GetCapturedStdout() + (error.empty() ? "" : "2>" + error);
}

/// A process that was started without a standard input: the next file that it opens has number 0.
struct WithoutInput {
  WithoutInput() { close(0); }
  ~WithoutInput() {
    dup2(kept, 0);
    close(kept);
  }
  const int kept = dup(0);
};

/// One file in a folder of its own.
struct TemporaryFile {
  TemporaryFile(const std::string &name, const Bytes &content)
      : folder(std::filesystem::temp_directory_path() / "trx_api_XXXXXX") {
    path = mkdtemp(folder.data()) + ("/" + name);
    std::ofstream(path, std::ios::binary) << std::string(content.begin(), content.end());
  }
  ~TemporaryFile() { std::filesystem::remove_all(folder); }
  TemporaryFile(const TemporaryFile &) = delete;

  std::string folder, path;
};

/// An empty platform; checks at the end that the script was used up and every handle closed.
class ApiTest : public testing::Test {
 protected:
  ApiTest() {
    platform = {};
    platform.answer = [](const Command &) {
      ADD_FAILURE() << "a command that the script does not know";
      return Reply{.platformStatus = 71};
    };
  }
  ~ApiTest() override {
    TRX_Final();
    // The semaphores outlive the process on purpose; after a test nobody wants them.
    for (char place = '0'; place <= '0' + 64; ++place) sem_unlink((std::string("trxd") + place).c_str());
    EXPECT_EQ(platform.replies.size(), 0u) << "replies that nobody asked for";
    EXPECT_EQ(platform.openHandles, 0);
  }

  /// Find `count` supported controllers, vmhba0 onwards, and forget how.
  static void start(int count = 1) {
    platform.adapters.clear();
    for (int i = 0; i < count; ++i) {
      platform.addAdapter("vmhba" + std::to_string(i));
      platform.replies.insert(platform.replies.end(), {identifyReply(), controllerInformation()});
    }
    TRX_Init();
    ASSERT_EQ(TRX_Adapter_GetCount(), count);
    platform.commands.clear();
  }

  /// Script one vendor exchange.
  static void exchange(uint8_t status, const Bytes &data = {}) {
    platform.replies.insert(platform.replies.end(), {Reply{}, envelope(status, data)});
  }

  /// The commands as "opcode:NSID:CDW10...CDW15+length", of a vendor request "group/sub-code:data".
  static std::string traffic() {
    std::string text;
    for (const Command &command : platform.commands) {
      char line[120];
      const nvme_cmd &c = command.io.cmd;
      const auto *w = reinterpret_cast<const TRX_U16 *>(command.sent.data());
      if (c.opcode == 0xCB)
        snprintf(line, sizeof line, "%u/%u:%x:%x:%x:%x ", w[4], w[5], w[8], w[9], w[10], w[11]);
      else
        snprintf(line, sizeof line, "%x:%x:%x:%x:%x:%x:%x:%x+%zu ", c.opcode, c.nsid, c.cdw10, c.cdw11,
                 c.cdw12, c.cdw13, c.cdw14, c.cdw15, command.sent.size());
      if (c.opcode != 0xCE) text += line;
    }
    return text;
  }
};

/// With one controller.
class StartedTest : public ApiTest {
 protected:
  void SetUp() override { start(); }
};

inline Reply success(const Command &) { return {}; }

#endif  // TRX_TESTS_API_TEST_H
