// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/vmware/native/user/nvme_lib.h"

#include <sys/stat.h>

#include "api_test.h"

namespace {

class NvmeLib : public ApiTest {
 protected:
  NvmeLib() {
    platform.addAdapter("vmhba1");
    platform.addAdapter("vmhba10");
    EXPECT_EQ(Nvme_GetAdapterList(&list), 0);
    handle.reset(Nvme_Open(&list, "vmhba10"));
    h = handle.get();
  }
  nvme_adapter_list list{};
  NvmeHandle handle;
  nvme_handle *h;
};

TEST_F(NvmeLib, SignsAsThePlatformWants) {
  EXPECT_EQ(
      platform.signature,
      "1000000 mgmt-vmhba10 VMware\n16: at 1, 1, 4/1 and 208/2 of 2\n17: at 1, 1, 4/1 and 120/3 of 2\n");
  const std::string longest(32, 'x');
  platform.addAdapter(longest);
  ASSERT_EQ(Nvme_GetAdapterList(&list), 0);
  EXPECT_TRUE(NvmeHandle(Nvme_Open(&list, longest.c_str())));
  EXPECT_EQ(platform.signature.substr(0, 47), "1000000 mgmt-" + longest.substr(6) + " VMware\n");
  ASSERT_EQ(Nvme_GetAdapterList(&list), 0);
  EXPECT_EQ(platform.signature,
            "1000000 nvmeMgmt VMware\n16: at 1, 1, 4/2 and 5120/2 of 2\n17: at 1, 1, 4/1 and 4/1 of 2\n");
}

TEST_F(NvmeLib, OpensByTheWholeName) {
  const nvme_adapter_list none{};
  platform.opens = 0;
  EXPECT_EQ(Nvme_Open(&none, "vmhba1"), nullptr);
  EXPECT_EQ(Nvme_Open(&list, "vmhba100"), nullptr);
  EXPECT_EQ(platform.opens, 0) << "the platform was bothered";
  platform.openStatus = 1;
  EXPECT_EQ(Nvme_Open(&list, "vmhba1"), nullptr);
  platform.adapters.resize(4000);  // more than the list has room for
  ASSERT_EQ(Nvme_GetAdapterList(&list), 0);
  EXPECT_EQ(list.count, 64u);
}

TEST_F(NvmeLib, AbortsOnProgrammingErrors) {
  int none = 0, eight = 8;
  usr_io io{};
  const std::pair<std::function<void()>, const char *> rows[] = {
      {[] { Nvme_GetAdapterList(nullptr); }, "Nvme_GetAdapterList: .*`list != \\(\\(void \\*\\)0\\)'"},
      {[] { Nvme_Open(nullptr, "vmhba1"); }, "Nvme_Open: .*`adapters != \\(\\(void \\*\\)0\\)'"},
      {[&] { Nvme_Open(&list, nullptr); }, "Nvme_Open: .*`name != \\(\\(void \\*\\)0\\)'"},
      {[] { Nvme_Close(nullptr); }, "Nvme_Close: .*`handle'"},
      {[&] { Nvme_Ioctl(nullptr, 1, &io); }, "Nvme_Ioctl: .*`handle'"},
      {[&] { Nvme_Ioctl(h, 1, nullptr); }, "Nvme_Ioctl: .*`uio'"},
      {[&] { Nvme_FWFindSlot(h, nullptr); }, "Nvme_FWFindSlot: .*`handle && slot'"},
      {[&] { Nvme_FWFindSlot(h, &none); }, "Nvme_FWFindSlot: .*`\\*slot > 0 && \\*slot < 8'"},
      {[&] { Nvme_FWFindSlot(h, &eight); }, "Nvme_FWFindSlot: .*`\\*slot > 0 && \\*slot < 8'"},
      {[] { Nvme_FWActivate(nullptr, 1, 1); }, "Nvme_FWActivate: .*`handle'"},
      {[&] { Nvme_FWActivate(h, 0, 1); }, "Nvme_FWActivate: .*`slot > 0 && slot < 8'"},
      {[&] { Nvme_FWActivate(h, 8, 1); }, "Nvme_FWActivate: .*`slot > 0 && slot < 8'"},
      {[&] { Nvme_FWActivate(h, 1, -1); }, "Nvme_FWActivate: .*`action >= 0 && action < 4'"},
      {[&] { Nvme_FWActivate(h, 1, 4); }, "Nvme_FWActivate: .*`action >= 0 && action < 4'"},
  };
  const std::string where = "^device/vmware/native/user/nvme_lib:[0-9]+: ";
  for (const auto &[call, text] : rows) EXPECT_DEATH(call(), where + text + " failed\\.\n$");
}

usr_io expected(uint8_t opcode, TRX_U32 nsid, uint8_t namespaceId, uint8_t direction, TRX_U32 length,
                const std::array<TRX_U32, 6> &w, _TRX_U64 timeoutUs = 2'000'000) {
  const nvme_cmd cmd = {opcode, 0, 0, nsid, 0, 0, 0, 0, 0, w[0], w[1], w[2], w[3], w[4], w[5]};
  return {cmd, {}, namespaceId, direction, 0, 0, length, 0, timeoutUs, 0, 0};
}

TEST_F(NvmeLib, BuildsCommands) {
  alignas(4096) uint8_t id[4096] = {};
  Bytes image(16385), sent;
  for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<uint8_t>(i >> 8);
  int slot = 1;
  // clang-format off
  struct { std::function<int()> call; std::vector<usr_io> commands; } const rows[] = {
      {[&] { return Nvme_Identify(h, -1, id); },                {expected(0x06, 0, 0xFF, 1, 4096, {1})}},
      {[&] { return Nvme_Identify(h, 3, id); },                 {expected(0x06, 3, 0xFF, 1, 4096, {})}},
      {[&] { return Nvme_CreateNamespace_IDT(h, 2, 8, 9); },    {expected(0xC1, 2, 2, 0, 0, {0, 0, 3, 8, 9})}},
      {[&] { return Nvme_DeleteNamespace_IDT(h, 0x104); },      {expected(0xC1, 0x104, 4, 0, 0, {0, 0, 2})}},
      {[&] { return Nvme_FWDownload(h, 1, image.data(), 0); },                {}},
      {[&] { return Nvme_FWDownload(h, 1, image.data(), 16385); },             {expected(0x11, ~0u, 0, 0, 8192, {2047, 0}), expected(0x11, ~0u, 0, 0, 8192, {2047, 2048}), expected(0x11, ~0u, 0, 0, 1, {~0u, 4096})}},
      {[&] { return Nvme_FWFindSlot(h, &slot); },               {expected(0x02, ~0u, 0, 1, 512, {0x007F0003})}},
      {[&] { return Nvme_FWActivate(h, 7, 3); },                {expected(0x10, ~0u, 0, 1, 0, {0x1F})}},
      {[&] { return Nvme_FormatNvm(h, 1, 1, 1, 1, 3, 5); },     {expected(0x80, 5, 5, 0, 0, {0x333}, 1'800'000'000)}},
  };
  // clang-format on
  platform.answer = success;
  for (const auto &row : rows) {
    platform.commands.clear();
    EXPECT_EQ(row.call(), 0);
    ASSERT_EQ(platform.commands.size(), row.commands.size());
    for (size_t i = 0; i < row.commands.size(); ++i) {
      usr_io &io = platform.commands[i].io;
      EXPECT_TRUE(platform.commands[i].aligned);
      sent = sent + platform.commands[i].sent;
      io.addr = 0;
      EXPECT_EQ(bytesOf(io), bytesOf(row.commands[i])) << "opcode " << int{io.cmd.opcode};
    }
  }
  EXPECT_EQ(sent, image) << "in its order";
  EXPECT_EQ(Nvme_IOPassthru(h, std::make_unique<usr_io>().get()), 0);
  EXPECT_EQ(platform.commands.back().code, 2);
  EXPECT_EQ(Nvme_SetLogLevel(3, 4), 0);
  EXPECT_EQ(platform.levels, std::pair(3, 4));
}

TEST_F(NvmeLib, FoldsStatuses) {
  Bytes slots(512);
  for (size_t slot = 0; slot < 7; ++slot) slots[8 + slot * 8] = '1';
  Bytes third = slots;
  third[8 + 2 * 8] = 0;
  int slot = 1;
  const uint8_t image[8192] = {};
  usr_io io{};
  // clang-format off
  struct { std::function<int()> call; Reply reply; int result; } const rows[] = {
      {[&] { return Nvme_AdminPassthru(h, &io); },       {.driverStatus = 9}, 9},
      {[&] { return Nvme_AdminPassthru(h, &io); },       {.platformStatus = 8, .driverStatus = 9}, 8},
      {[&] { return Nvme_AdminPassthru_error(h, 1, &io); }, {.driverStatus = 9}, 0},
      {[&] { return Nvme_FWActivate(h, 1, 0); },         {.sct = 1, .sc = 0x0B}, 1},
      {[&] { return Nvme_FWActivate(h, 1, 1); },         {.driverStatus = 5, .sct = 1, .sc = 0x0B}, 5},
      {[&] { return Nvme_FormatNvm(h, 0, 0, 0, 0, 0, 1); }, {.sct = 1, .sc = 0x0B}, 0x10B},
      {[&] { return Nvme_FWDownload(h, 1, image, 8192); }, {.driverStatus = 6}, 6},
      {[&] { return Nvme_FWFindSlot(h, &slot); },        {.driverStatus = 6}, -5},
      {[&] { return Nvme_FWFindSlot(h, &slot); },        {.data = slots}, -22},
      {[&] { return Nvme_FWFindSlot(h, &slot); },        {.data = third}, 0},
  };
  // clang-format on
  for (const auto &row : rows) {
    platform.replies.push_back(row.reply);
    EXPECT_EQ(row.call(), row.result);
  }
  EXPECT_EQ(slot, 3);
}

TEST_F(NvmeLib, LoadsImageFiles) {
  const TemporaryFile file("image", {1, 2, 3});
  std::unique_ptr<uint8_t[]> image;
  size_t size = 0;
  EXPECT_EQ(Nvme_FWLoadImage(file.path.c_str(), &image, &size), 0);
  ASSERT_EQ(size, 3u);
  EXPECT_EQ(image[2], 3);
  EXPECT_EQ(Nvme_FWLoadImage(nullptr, &image, &size), -22);
  EXPECT_EQ(Nvme_FWLoadImage("/nowhere", nullptr, &size), -22);
  EXPECT_EQ(Nvme_FWLoadImage("/nowhere", &image, nullptr), -22);
  const std::string &folder = file.folder, fifo = folder + "/fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::tuple<std::string, int, std::string> rows[] = {
      {"/nowhere", -2, "2>ERROR: Failed to open firmware image.\n"},
      {folder, -1, "2>ERROR: " + folder + " is not a file.\n"},
      {fifo, -1, "2>ERROR: " + fifo + " is not a file.\n"},
      {file.path, -5, "2>ERROR: Failed to read firmware image: Input/output error.\n"},
      {"/proc/self/mem", 0, ""},
  };
  for (const auto &[path, status, error] : rows) {
    SCOPED_TRACE(path);
    readError = path == file.path ? EIO : 0;
    const auto load = [&, name = path.c_str()] { return Nvme_FWLoadImage(name, &image, &size); };
    EXPECT_EQ(printed([&, expected = status] { EXPECT_EQ(load(), expected); }), error);
  }
  EXPECT_EQ(size, 0u) << "of the last one that could be read";
}

}  // namespace
