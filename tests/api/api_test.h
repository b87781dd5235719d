// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_TESTS_API_TEST_H
#define TRX_TESTS_API_TEST_H

#include <gtest/gtest.h>
#include <semaphore.h>

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

template <typename Record>
Bytes bytesOf(const Record &record) {
  Bytes bytes(sizeof record);
  std::memcpy(bytes.data(), &record, sizeof record);
  return bytes;
}

/// The first bytes of something.
inline Bytes head(const Bytes &bytes, size_t length) {
  return {bytes.begin(), bytes.begin() + static_cast<long>(length)};
}

inline Reply identifyReply(TRX_U16 vendor = TRX_VENDOR_ID) {
  return {.data = {static_cast<uint8_t>(vendor), static_cast<uint8_t>(vendor >> 8)}};
}

inline Reply controllerInformation(TRX_U16 device = TRX_DEVICE_ID) {
  Reply reply{.data = Bytes(4096)};
  std::memcpy(&reply.data[28], &device, sizeof device);
  return reply;
}

/// What a receive brings back.
inline Reply envelope(uint8_t status, const Bytes &data = {}, const char *sign = "TRX") {
  Reply reply{.data = Bytes(4096)};
  std::memcpy(reply.data.data(), sign, 3);
  reply.data[4] = status;
  std::copy(data.begin(), data.end(), reply.data.begin() + 8);
  return reply;
}

/// One file in a folder of its own.
class TemporaryFile {
 public:
  TemporaryFile(const std::string &name, const Bytes &content) {
    std::string pattern = (std::filesystem::temp_directory_path() / "trx_api_XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    path_ = folder_ / name;
    std::ofstream(path_, std::ios::binary)
        .write(reinterpret_cast<const char *>(content.data()), static_cast<std::streamsize>(content.size()));
  }
  ~TemporaryFile() { std::filesystem::remove_all(folder_); }
  TemporaryFile(const TemporaryFile &) = delete;
  TemporaryFile &operator=(const TemporaryFile &) = delete;

  std::string folder() const { return folder_.string(); }
  std::string path() const { return path_.string(); }

 private:
  std::filesystem::path folder_, path_;
};

/// An empty platform; checks at the end that the script was used up and every handle closed.
class ApiTest : public testing::Test {
 protected:
  ApiTest() : platform(fakePlatform()) { platform = {}; }

  void TearDown() override {
    TRX_Final();
    // The semaphores outlive the process on purpose; after a test nobody wants them.
    for (char place = '0'; place <= '0' + 64; ++place) sem_unlink((std::string("trxd") + place).c_str());
    EXPECT_EQ(platform.replies.size(), 0u) << "replies that nobody asked for";
    EXPECT_EQ(platform.unexpected, 0) << "commands that the script does not know";
    EXPECT_EQ(platform.openHandles, 0);
  }

  /// Find `count` supported controllers, vmhba0 onwards, and forget how.
  void start(int count = 1) {
    for (int i = 0; i < count; ++i) {
      platform.addAdapter("vmhba" + std::to_string(i));
      platform.replies.push_back(identifyReply());
      platform.replies.push_back(controllerInformation());
    }
    TRX_Init();
    ASSERT_EQ(TRX_Adapter_GetCount(), count);
    platform.commands.clear();
  }

  /// Script one vendor exchange.
  void exchange(uint8_t status, const Bytes &data = {}) {
    platform.replies.push_back({});
    platform.replies.push_back(envelope(status, data));
  }

  template <typename Call>
  std::string printed(Call call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
  }

  FakePlatform &platform;
};

#endif  // TRX_TESTS_API_TEST_H
