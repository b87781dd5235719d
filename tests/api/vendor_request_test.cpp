// SPDX-License-Identifier: GPL-3.0-or-later
// Every vendor operation: its words, what it sends, and how much of the answer it takes.
#include "api_test.h"

namespace {

template <typename Record>
Record *as(uint8_t *bytes) {
  return reinterpret_cast<Record *>(bytes);
}

struct Row {
  const char *name;
  TRX_U32 (*call)(uint8_t *record);
  std::vector<TRX_U16> words;
  std::vector<std::pair<size_t, uint8_t>> set;   ///< bytes of the caller's record beforehand
  std::vector<std::pair<size_t, uint8_t>> sent;  ///< bytes of it that travel otherwise
  size_t in;
  size_t out;
  Bytes data = {};  ///< what travels when it is not the caller's record
  TRX_U32 result = 0;
};

// clang-format off
const Row kRows[] = {
    {"Adapter_GetInfo",   [](uint8_t *r) { return TRX_Adapter_GetInfo(0, as<NVME_Adapter_Info>(r)); },       {224, 0}, {}, {}, 0, 156},
    {"Adapter_GetConfig", [](uint8_t *r) { return TRX_Adapter_GetConfig(0, as<NVME_Adapter_Config>(r)); },   {224, 1}, {}, {}, 0, 16},
    {"Adapter_SetConfig", [](uint8_t *r) { return TRX_Adapter_SetConfig(0, as<NVME_Adapter_Config>(r)); },   {224, 2}, {}, {}, 16, 0},
    {"Adapter_LED",       [](uint8_t *r) { return TRX_Adapter_LED(0, as<NVME_LED>(r)); },                    {224, 7}, {}, {}, 8, 0},
    {"PD_GetInfo 1",      [](uint8_t *r) { return TRX_PD_GetInfo(0, as<NVME_PD_Info_Request>(r)); },         {225, 0}, {{6, 1}}, {}, 16, 1144},
    {"PD_GetInfo 58",     [](uint8_t *r) { return TRX_PD_GetInfo(0, as<NVME_PD_Info_Request>(r)); },         {225, 0}, {{6, 58}}, {}, 16, 65440},
    {"PD_GetInfo 59",     [](uint8_t *r) { return TRX_PD_GetInfo(0, as<NVME_PD_Info_Request>(r)); },         {225, 0}, {{6, 59}}, {}, 16, 1032},
    {"PD_OEM",            [](uint8_t *r) { return TRX_PD_OEM(0, as<TRXItem_OEM_Data>(r)); },                 {225, 3}, {{0, 3}, {1, 1}}, {}, 276, 276},
    {"PD_OEM wrapped",    [](uint8_t *r) { return TRX_PD_OEM(0, as<TRXItem_OEM_Data>(r)); },                 {225, 3}, {{0, 255}, {1, 255}}, {}, 16, 16},
    {"PD_OEM full",       [](uint8_t *r) { return TRX_PD_OEM(0, as<TRXItem_OEM_Data>(r)); },                 {225, 3}, {{0, 0xDF}, {1, 0x0F}}, {}, 4080, 4080},
    {"PD_Import",         [](uint8_t *r) { return TRX_PD_Import(0, as<RequestHeader>(r)); },                 {225, 9}, {}, {}, 16, 0},
    {"VD_GetInfo",        [](uint8_t *r) { return TRX_VD_GetInfo(0, as<NVME_VD_Info_Request>(r)); },         {226, 0}, {{6, 255}}, {}, 16, 44896},
    {"VD_GetConfig",      [](uint8_t *r) { return TRX_VD_GetConfig(0, as<NVME_VD_Config_Request>(r)); },     {226, 1}, {{6, 2}}, {}, 16, 64},
    {"VD_SetConfig",      [](uint8_t *r) { return TRX_VD_SetConfig(0, as<NVME_VD_Config_Request>(r)); },     {226, 2}, {{6, 2}}, {}, 64, 0},
    {"VD_SetConfig full", [](uint8_t *r) { return TRX_VD_SetConfig(0, as<NVME_VD_Config_Request>(r)); },     {226, 2}, {{6, 169}}, {}, 4072, 0},
    {"VD_Create refused", [](uint8_t *r) { return TRX_VD_Create(0, as<NVME_Create_VD>(r)); },                {226, 3}, {{104, 1}}, {{104, 0}}, 632, 0, {}, 61},
    {"VD_QuerySize",      [](uint8_t *r) { return TRX_VD_QuerySize(0, as<NVME_Create_VD>(r), as<NVME_PreCreate_VD>(r)); }, {226, 3}, {{104, 0}}, {{104, 1}}, 632, 16},
    {"VD_Import",         [](uint8_t *) { return TRX_VD_Import(0, 0x0201); },                                {226, 6}, {}, {}, 16, 0, {0, 0, 2, 0, 1, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
    {"PD_GetBGAStatus",   [](uint8_t *r) { return TRX_PD_GetBGAStatus(0, as<NVME_BGA_REQUEST>(r)); },        {227, 1}, {{6, 3}}, {}, 16, 40},
    {"VD_GetBGAStatus",   [](uint8_t *r) { return TRX_VD_GetBGAStatus(0, as<NVME_BGA_REQUEST>(r)); },        {227, 2}, {{6, 3}}, {}, 16, 40},
    {"PD_BGAControl",     [](uint8_t *) { return TRX_PD_BGAControl(0, 5, TRX_NVME_BGA_OPERATION_ABORT); },   {227, 3, 3}, {}, {}, 16, 0, {0, 0, 2, 0, 5, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
    {"VD_BGAControl",     [](uint8_t *) { return TRX_VD_BGAControl(0, 6, TRX_NVME_BGA_OPERATION_PAUSE); },   {227, 4, 1}, {}, {}, 16, 0, {0, 0, 2, 0, 6, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
    {"PD_MP",             [](uint8_t *) { return TRX_PD_MP(0, 0x0102); },                                    {227, 5}, {}, {}, 8, 0, {2, 1, 0, 0, 0, 0, 0, 0}},
    {"VD_Init",           [](uint8_t *) { return TRX_VD_Init(0, 0x0102, 9); },                               {227, 6}, {}, {}, 8, 0, {2, 1, 9, 0, 0, 0, 0, 0}},
    {"VD_Rebuild",        [](uint8_t *r) { return TRX_VD_Rebuild(0, as<NVME_Rebuild>(r)); },                 {227, 7}, {}, {}, 8, 0},
    {"VD_Sync",           [](uint8_t *) { return TRX_VD_Sync(0, 3); },                                       {227, 8}, {}, {}, 8, 0, {3, 0, 0, 0, 0, 0, 0, 0}},
    {"VD_Migrate",        [](uint8_t *r) { return TRX_VD_Migrate(0, as<NVME_Migrate>(r)); },                 {227, 9}, {}, {}, 40, 0},
    {"VD_MP",             [](uint8_t *) { return TRX_VD_MP(0, 4); },                                         {227, 10}, {}, {}, 8, 0, {4, 0, 0, 0, 0, 0, 0, 0}},
    {"Event_Status",      [](uint8_t *r) { return TRX_Event_Status(0, as<NVME_Event_Status>(r)); },          {228, 1}, {}, {}, 0, 8},
    {"NS_GetInfo",        [](uint8_t *r) { return TRX_NS_GetInfo(0, as<NVME_NS_Info>(r), 170); },            {229, 0}, {}, {}, 0, 4080},
    {"NS_GetInfo wraps",  [](uint8_t *r) { return TRX_NS_GetInfo(0, as<NVME_NS_Info>(r), 2731); },           {229, 0}, {}, {}, 0, 8},
    {"NS_GetInfo_VD",     [](uint8_t *r) { return TRX_NS_GetInfo_VD(0, as<NVME_NS_Info>(r), 7, 2); },        {229, 1, 7}, {}, {}, 0, 48},
    {"Dump_Console",      [](uint8_t *r) { return TRX_Dump_Console(0, as<NVME_Debug_Dump_Request>(r)); },    {254, 0}, {}, {}, 0, 4096},
    {"Dump_Status",       [](uint8_t *r) { return TRX_Dump_Status(0, as<NVME_Debug_Dump_Status>(r)); },      {254, 1}, {}, {}, 0, 8},
    {"Get_Dump_Cfg",      [](uint8_t *r) { return TRX_Get_Dump_Cfg(0, as<NVME_Debug_Dump_Config>(r)); },     {254, 2}, {}, {}, 0, 8},
    {"Set_Dump_Cfg",      [](uint8_t *r) { return TRX_Set_Dump_Cfg(0, as<NVME_Debug_Dump_Config>(r)); },     {254, 3}, {}, {}, 8, 0},
    {"Page_Event",        [](uint8_t *r) { return TRX_Page_Event(0, as<NVME_Event_Page>(r)); },       {254, 4}, {}, {}, 4096, 4096},
};
// clang-format on

using VendorRequests = StartedTest;

TEST_F(VendorRequests, SendTheirWordsAndDataAndTakeTheirAnswers) {
  const size_t room = sizeof(NVMEReceiveData::data);
  Bytes junk(70000), answer(70000);  // of which the controller fills what has room
  for (size_t i = 0; i < junk.size(); ++i) junk[i] = static_cast<uint8_t>(i * 7 + 1);
  for (size_t i = 0; i < room; ++i) answer[i] = static_cast<uint8_t>(i * 3 + 5);
  for (const Row &row : kRows) {
    SCOPED_TRACE(row.name);
    Bytes record = junk;
    for (const auto &[at, value] : row.set) record[at] = value;
    Bytes expected = record, wanted = row.data.empty() ? head(record, row.in) : row.data;
    for (const auto &[at, value] : row.sent) wanted[at] = expected[at] = value;
    exchange(static_cast<uint8_t>(row.result), head(answer, room));
    platform.commands.clear();

    EXPECT_EQ(row.call(record.data()), row.result);

    NVMESendData request{
        {'T', 'R', 'X', 0}, static_cast<uint8_t>(row.words.size()), 16, static_cast<TRX_U16>(row.in), {}, {}};
    std::copy(row.words.begin(), row.words.end(), request.vendor_cmd);
    std::copy_n(wanted.begin(), std::min(wanted.size(), sizeof request.data), request.data);
    ASSERT_EQ(platform.commands.size(), 2u);
    EXPECT_TRUE(platform.commands[0].sent == bytesOf(request)) << "something else was sent";
    for (const bool second : {false, true}) {
      const Command &command = platform.commands[second];
      EXPECT_EQ(command.signature, "mgmt-vmhba0");
      EXPECT_EQ(command.code, 1);
      EXPECT_TRUE(command.aligned);
      const TRX_U8 opcode = second ? 0xCE : 0xCB;
      const nvme_cmd cmd = {opcode, 0, 0, 0, 0, 0, 0, 0, 0, 1024, 0, 0, 0, 0, 0x00585254};
      EXPECT_EQ(bytesOf(command.io.cmd), bytesOf(cmd));
      EXPECT_EQ(command.io.direction, second);
      EXPECT_EQ(command.io.length, 4096u);
    }
    if (row.result == 0) std::copy_n(answer.begin(), row.out, expected.begin());
    EXPECT_TRUE(record == expected) << "other bytes came back";
  }
}

// Everything that takes a pointer; the rows with data of their own take none.
TEST_F(VendorRequests, RefuseANullPointer) {
  for (const Row &row : kRows) EXPECT_EQ(row.data.empty() ? row.call(nullptr) : 1u, 1u) << row.name;
  NVME_Create_VD create{};
  NVME_PreCreate_VD size{};
  TRX_U8 byte = 7;
  const std::tuple<const char *, TRX_U32, TRX_U32> rows[] = {
      {"QuerySize, no answer", TRX_VD_QuerySize(0, &create, nullptr), 1},
      {"QuerySize, no request", TRX_VD_QuerySize(0, nullptr, &size), 1},
      {"NS, a length that wraps to 0", TRX_NS_GetInfo(0, nullptr, 8192), 1},
      {"SetTime", TRX_Adapter_SetTime(0, nullptr), 1},
      {"NVM, no words", TRX_Adapter_NVM(0, 1, 0, nullptr, 1, nullptr, 0, nullptr, 0), 1},
      {"Flash", TRX_Adapter_Flash(0, nullptr, 1, 1, 0), 1},
      {"Flash_Result", TRX_Adapter_Flash_Result(0, nullptr), 1},
      {"AddSystemDisk", TRX_AddSystemDisk(nullptr), 1},
      {"findAdapterId, no text", findAdapterId(nullptr, &byte), 0},
      {"findAdapterId, no place", findAdapterId("", nullptr), 0},
      {"Admin, no words", TRX_Adapter_Admin(0, 6, 0, nullptr, 1, nullptr, 0, &byte, 1), 1},
      {"Admin, nothing to send", TRX_Adapter_Admin(0, 6, 0, nullptr, 0, nullptr, 1, nullptr, 0), 1},
      {"Admin, no place", TRX_Adapter_Admin(0, 6, 0, nullptr, 0, nullptr, 0, nullptr, 1), 1},
      {"PassthruAdmin", TRX_Adapter_PassthruAdmin(0, nullptr, nullptr, 0, nullptr, 0), 1},
      {"OEM", TRX_Adapter_OEM(0, nullptr), 0},
  };
  for (const auto &[what, status, expected] : rows) EXPECT_EQ(status, expected) << what;
  EXPECT_TRUE(platform.commands.empty());
  exchange(0);
  EXPECT_EQ(TRX_NS_GetInfo(0, nullptr, 0), 0u) << "nothing is wanted";
}

TEST_F(VendorRequests, ThatDoNotFitAnEnvelopeAreRefusedAndTheEventPageNever) {
  Bytes record(70000);
  record[6] = 170;
  EXPECT_EQ(TRX_VD_SetConfig(0, as<NVME_VD_Config_Request>(record.data())), 1u);
  for (const TRX_U16 size : std::initializer_list<TRX_U16>{4064, 4079, 4080, 65518}) {
    as<TRXItem_OEM_Data>(record.data())->cbSize = size;
    EXPECT_EQ(TRX_PD_OEM(0, as<TRXItem_OEM_Data>(record.data())), 1u) << size;
  }
  EXPECT_TRUE(platform.commands.empty());
  platform.replies.push_back({.platformStatus = 5, .sct = 0, .sc = 6});
  auto *page = as<NVME_Event_Page>(record.data());
  EXPECT_EQ(printed([&] { EXPECT_EQ(TRX_Page_Event(0, page), 0u); }).substr(0, 10), "NVMEDevice");
}

TEST_F(VendorRequests, WithoutAControllerAreRefused) {
  NVME_Adapter_Config config{};
  for (const TRX_U8 adapter : std::initializer_list<TRX_U8>{1, 32, 33, 255}) {
    EXPECT_EQ(TRX_Adapter_GetConfig(adapter, &config), 1u);
    EXPECT_EQ(TRX_Adapter_NVM(adapter, 1, 0, nullptr, 0, nullptr, 0, nullptr, 0), 1u);
    EXPECT_EQ(TRX_Adapter_GetSlotID(adapter), 0xFFFFFFFFu);
    EXPECT_STREQ(TRX_Adapter_GetDevicePath(adapter), "");
  }
}

// Each command in its time: what the controller's lock sees.
TEST_F(VendorRequests, HoldTheLockOfTheirControllerAroundThePair) {
  start(33);
  static std::string seen;
  for (TRX_U8 i = 0; i < 33; ++i) {
    TRXLock *lock = nvmeDeviceOf(i)->m_lock;
    lock->lock = [](TRXLock *own) { seen += std::string("lock ") + own->lockName; };
    lock->unlock = [](TRXLock *) { seen += " unlock"; };
  }
  platform.answer = [](const Command &command) {
    seen += " " + command.signature + (command.io.cmd.opcode == 0xCE ? " ce" : " cb");
    return command.io.cmd.opcode == 0xCE ? envelope(0) : Reply{};
  };
  NVME_Adapter_Config config{};
  for (const TRX_U8 adapter : std::initializer_list<TRX_U8>{1, 0, 32}) {
    EXPECT_EQ(TRX_Adapter_GetConfig(adapter, &config), 0u);
    seen += "\n";
  }
  EXPECT_EQ(seen,
            "lock trxd1 mgmt-vmhba1 cb mgmt-vmhba1 ce unlock\n"
            "lock trxd0 mgmt-vmhba0 cb mgmt-vmhba0 ce unlock\n"
            "lock trxdP mgmt-vmhba32 cb mgmt-vmhba32 ce unlock\n");
}

}  // namespace
