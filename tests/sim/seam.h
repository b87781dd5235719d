// SPDX-License-Identifier: GPL-3.0-or-later
// A simulated host in a directory of its own, and a caller of its management library in process.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "files/files.h"
#include "host/directory.h"
#include "nvme_driver.h"
#include "topology/topology.h"
#include "trx/trx_records.h"
#include "vmkmgmt.h"

extern "C" {
int vmk_MgmtUserInit(vmk_MgmtApiSignature *, uint64_t, void **);
int vmk_MgmtUserCallbackInvokeInt(void *, uint64_t, uint64_t, ...);
void vmk_MgmtUserDestroy(void *);
}

inline std::string topologyFile(const std::string &name) {
  bool exists = false;
  return sim::readText(std::string(TRX_SIM_TOPOLOGIES) + "/" + name, exists);
}

/// One page-aligned page, as the seam wants its buffers.
struct alignas(4096) Page {
  uint8_t bytes[4096] = {};
  template <typename Record>
  Record at(size_t offset) const {
    Record record;
    std::memcpy(&record, bytes + offset, sizeof record);
    return record;
  }
};

/// What a command gave.
struct Result {
  int platform = 0;
  uint32_t status = 0;  ///< the driver's
  unsigned folded = 0;  ///< type and code of the completion
  bool ok() const { return platform == 0 && status == 0; }
};

/// The signature of an adapter, to be sent as it is or broken first.
struct Signature {
  explicit Signature(const std::string &name) { name.copy(value.name, sizeof value.name - 1); }
  int init(void **handle) { return vmk_MgmtUserInit(&value, 0, handle); }
  // clang-format off
  vmk_MgmtCallbackInfo callbacks[2]{
      {VMK_MGMT_CALLBACK_KERNEL, nullptr, 1, 2, {4, 208}, {VMK_MGMT_PARMTYPE_IN, VMK_MGMT_PARMTYPE_OUT}, 16},
      {VMK_MGMT_CALLBACK_KERNEL, nullptr, 1, 2, {4, 120}, {VMK_MGMT_PARMTYPE_IN, VMK_MGMT_PARMTYPE_INOUT}, 17}};
  // clang-format on
  vmk_MgmtApiSignature value{VMK_MGMT_VERSION, {}, "VMware", 2, callbacks};
};

/// Why something was refused; empty when it was not.
template <typename Call>
std::string refusal(Call call) {
  try {
    call();
  } catch (const sim::HostError &error) {
    return error.what();
  }
  return {};
}

/// A test with a host. The state directory goes with it.
class Host : public testing::Test {
 protected:
  Host() {
    EXPECT_NE(mkdtemp(directory.data()), nullptr);
    setenv("TRX_SIM_STATE", directory.c_str(), 1);
  }
  ~Host() override {
    EXPECT_EQ(takeViolations(), "") << "what the controller held against its caller";
    unsetenv("TRX_SIM_STATE");
    std::filesystem::remove_all(directory);
  }
  void make(const std::string &topology) { sim::createHost(directory, sim::parseTopology(topology)); }

  /// Takes the record of violations, so that none is left at the end.
  std::string takeViolations() const {
    bool exists = false;
    std::string text = sim::readText(directory + "/violations.log", exists);
    std::filesystem::remove(directory + "/violations.log");
    return text;
  }

  /// A block as a well-behaved program makes it.
  static usr_io block(uint8_t opcode, uint32_t cdw12 = 0, uint32_t cdw14 = 0) {
    usr_io uio{};
    uio.cmd.opcode = opcode;
    uio.cmd.cdw12 = cdw12;
    uio.cmd.cdw14 = cdw14;
    uio.direction = TRX_FROM_CONTROLLER;
    uio.timeoutUs = 100'000'000;
    return uio;
  }
  static usr_io withPage(usr_io uio, Page &page, uint8_t direction = TRX_FROM_CONTROLLER) {
    uio.direction = direction;
    uio.addr = reinterpret_cast<uint64_t>(page.bytes);
    uio.length = sizeof page.bytes;
    return uio;
  }

  static Result send(usr_io uio, const std::string &adapter = "vmhba2") {
    uint32_t code = 1;
    void *handle = nullptr;
    const int refused = Signature("nvmeMgmt-" + adapter).init(&handle);
    if (refused != 0) return {refused};
    const int platform = vmk_MgmtUserCallbackInvokeInt(handle, 0, 17, &code, &uio);
    vmk_MgmtUserDestroy(handle);
    return {platform, uio.status, uint32_t{uio.comp.SCT} << 8 | uio.comp.SC};
  }

  /// A controller function that answers with a page.
  static Result function(uint32_t cdw12, uint32_t cdw14, Page &page, const std::string &adapter = "vmhba2") {
    return send(withPage(block(0xE2, cdw12, cdw14), page), adapter);
  }

  static usr_io pairBlock(uint8_t opcode, Page &page) {
    usr_io uio = withPage(block(opcode), page, opcode == 0xCB ? TRX_TO_CONTROLLER : TRX_FROM_CONTROLLER);
    uio.cmd.cdw10 = 1024;
    uio.cmd.cdw15 = TRX_SIGNATURE_WORD;
    return uio;
  }
  static RequestHeader header(uint8_t type, uint16_t start, uint8_t count) {
    return {0, type, 0, start, count, 0, 0, {}};
  }
  static void envelope(Page &page, const std::vector<uint16_t> &words, const void *data = nullptr,
                       size_t length = 0) {
    NVMESendData envelope{};
    std::memcpy(envelope.sign, "TRX", 4);
    envelope.cmd_length = static_cast<uint8_t>(words.size());
    envelope.data_offset = 16;
    envelope.data_length = static_cast<uint16_t>(length);
    std::copy(words.begin(), words.end(), envelope.vendor_cmd);
    if (length != 0) std::memcpy(envelope.data, data, length);
    std::memcpy(page.bytes, &envelope, sizeof envelope);
  }
  /// A whole pair exchange; the firmware's status, or 0x1000 when it did not come to one.
  static unsigned pair(const std::vector<uint16_t> &words, const void *data, size_t length, Page &answer) {
    Page page;
    envelope(page, words, data, length);
    if (!send(pairBlock(0xCB, page)).ok() || !send(pairBlock(0xCE, answer)).ok()) return 0x1000;
    return std::memcmp(answer.bytes, "TRX", 3) == 0 ? answer.bytes[4] : 0x1000U;
  }
  template <typename Record>
  static unsigned pair(const std::vector<uint16_t> &words, const Record &record) {
    Page answer;
    return pair(words, &record, sizeof record, answer);
  }

  NVME_VD_Info volume(uint32_t id) {
    Page page;
    EXPECT_TRUE(function(0xE2, id, page).ok());
    return page.at<NVME_VD_Info>(8);
  }
  std::string journal() {
    std::string text;
    for (uint32_t offset = 0; offset < 65536; offset += 4096) {
      Page page;
      usr_io uio = withPage(block(0xE2, 0x4FE, 4096), page);
      uio.cmd.cdw10 = 0x3FF;
      uio.cmd.cdw13 = offset;
      EXPECT_TRUE(send(uio).ok());
      text.append(page.bytes + 40, std::find(page.bytes + 40, page.bytes + 4096, 0));
    }
    return text;
  }

  template <typename Work>
  static pid_t startChild(Work work) {
    pid_t child = fork();
    if (child == 0) _exit(work() ? 0 : 1);
    return child;
  }
  static int waitStatus(pid_t child) {
    int status = -1;
    waitpid(child, &status, 0);
    return status;
  }
  /// The wait status of a process that does `work`.
  template <typename Work>
  static int inChild(Work work) {
    return waitStatus(startChild(work));
  }

  std::string directory = "/tmp/trx_sim_test_XXXXXX";
};

/// The same, on the host whose activities stand still.
class FrozenHost : public Host {
 protected:
  FrozenHost() { make(topologyFile("frozen.json")); }
};
