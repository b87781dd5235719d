// SPDX-License-Identifier: GPL-3.0-or-later
// State files that somebody forged: a good one, patches, the checksum made right again. Then commands for
// the controller that it became. A byte for the number of patches, each of place, length and bytes; commands.
#include "model/state_file.h"

#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "controller/functions.h"
#include "host/directory.h"
#include "input.h"
#include "model/firmware.h"
#include "model/restart.h"
#include "model/sound.h"
#include "topology/topology.h"

namespace {

constexpr uint8_t kOpcodes[] = {0xE2, 0xCB, 0xCE, 0xC2, 0xC3, 0x02, 0x06, 0x10, 0x11, 0x15, 0x1D, 0x1E};

/// One host for all inputs, whose clock stands.
class Host {
 public:
  Host() {
    fuzz::require(mkdtemp(directory_) != nullptr);
    const std::string topology = R"({"clock": 1720000000, )" + sim::defaultTopology().substr(1);
    const sim::HostPlan plan = sim::parseTopology(topology);
    sim::createHost(directory_, plan);
    whole_ = sim::encodeAdapter(plan.adapters[0]);
    files_ = std::make_unique<sim::AdapterFiles>(directory_, std::string(plan.adapters[0].name()));
  }
  ~Host() { std::filesystem::remove_all(directory_); }
  Host(const Host &) = delete;
  Host &operator=(const Host &) = delete;

  sim::AdapterFiles &files() { return *files_; }

  void forge(fuzz::Input &input) {
    std::vector<char> bytes = whole_;
    // Few patches would hit anything else than the text of the journal, which is last.
    const size_t most = bytes.size() - sim::kStateHeadBytes - sizeof(sim::Journal::text);
    for (unsigned patches = input.byte() % 8; patches > 0; --patches) {
      const size_t at = sim::kStateHeadBytes + input.word() % most;
      auto taken = input.take(std::min<size_t>(input.byte() % 9, bytes.size() - at));
      std::copy(taken.begin(), taken.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    }
    sim::sealState(bytes);
    sim::writeInto(sim::statePath(directory_, files_->name()), {bytes.data(), bytes.size()});
  }

 private:
  char directory_[32] = "/tmp/trx_fuzz_state_XXXXXX";
  std::vector<char> whole_;
  std::unique_ptr<sim::AdapterFiles> files_;
};

/// The envelope of a pair send, but for its words and data.
void beginEnvelope(sim::Command &command, std::vector<uint8_t> &page) {
  command.cdw = {TRX_PAGE_SIZE / 4, 0, 0, 0, 0, TRX_SIGNATURE_WORD};
  if (command.opcode != 0xCB) return;
  NVMESendData envelope{};
  std::memcpy(envelope.sign, "TRX", 4);
  envelope.cmd_length = 2;
  envelope.data_offset = 16;
  std::memcpy(page.data(), &envelope, 8);
}

/// What a well-behaved caller has room for.
size_t answerBytes(const sim::Command &command) {
  if (command.opcode == 0x10 || command.opcode == 0xC3) return 0;
  if (command.opcode != 0xE2) return TRX_PAGE_SIZE;
  const sim::Function *function = sim::findFunction(command.dword(12) & 0xFF, command.dword(12) >> 8 & 0xFF);
  if (!function || function->direct.transfer == sim::Transfer::None) return 0;
  return function->direct.transfer == sim::Transfer::Raw ? function->direct.rawBytes : TRX_PAGE_SIZE;
}

void run(sim::Session &session, sim::Command &command) {
  if (command.in.empty()) {
    command.direction = sim::Direction::FromController;
    command.wanted = answerBytes(command);
  }
  sim::Completion completion;
  std::string breach;
  sim::runCommand(session, command, completion, breach);
}

/// What a listing asks, of the first few objects of each kind.
void list(sim::Session &session) {
  for (uint32_t id = 0; id < 8; ++id) {
    for (uint32_t function : {0xE0U, 0xE1U, 0xE2U, 0x2E3U, 0xE5U}) {
      const bool ofObject = function != 0xE0 && function != 0xE5;
      sim::Command information{.opcode = 0xE2, .cdw = {0, 0, function, 0, ofObject ? id : 0, 0}};
      run(session, information);
    }
    for (uint8_t opcode : {uint8_t{0x02}, uint8_t{0x06}}) {
      sim::Command ofDisk{
          .opcode = 0xC2, .nsid = id, .cdw = {opcode == 2 ? 0x7F0003U : 1U, 0, 0, 0, opcode, 0}};
      run(session, ofDisk);
    }
  }
  sim::Command message{.opcode = 0x1E}, slots{.opcode = 0x02, .cdw = {3, 0, 0, 0, 0, 0}};
  run(session, message);
  run(session, slots);
}

void runOne(fuzz::Input &input, sim::Session &session) {
  sim::Command command;
  command.opcode = kOpcodes[input.byte() % std::size(kOpcodes)];
  const uint8_t shape = input.byte();
  command.nsid = shape & 1 ? input.byte() : 0;
  for (uint32_t &dword : command.cdw)
    if ((shape >> 1 & 0x3F & 1U << (&dword - command.cdw.data())) != 0)
      dword = input.word() | uint32_t{input.byte()} << 16;
  std::vector<uint8_t> page(TRX_PAGE_SIZE);
  const bool pair = command.opcode == 0xCB || command.opcode == 0xCE;
  if (pair) beginEnvelope(command, page);
  if (shape & 0x80) {
    auto taken = input.take(input.byte());
    std::copy(taken.begin(), taken.end(), page.begin() + (pair ? 6 : 0));
    if (command.opcode == 0x1D) page.resize(80);
    command.direction = sim::Direction::ToController;
    command.in = page;
  }
  run(session, command);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static Host host;
  fuzz::Input input(data, size);
  host.forge(input);
  try {
    sim::Session session(host.files());
    session.change();  // never written: the next input reads its own file
    list(session);
    for (int i = 0; i < 8 && !input.empty(); ++i) {
      runOne(input, session);
      fuzz::require(sim::sound(session.state()));
    }
    sim::restart(session);
    fuzz::require(sim::sound(session.state()));
    session.dropAnswer();
  } catch (const sim::HostError &error) {
    fuzz::require(*error.what() != '\0');
  }
  return 0;
}
