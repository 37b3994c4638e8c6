/**
 * Notifications of any payload, in any order and state of the module, with what the module sends to
 * itself on the way.
 */
#include "fuzz_platform.h"

#include <utility>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *octets, size_t length) {
  constexpr uint32_t kOpcodes[] = {FCS_MSG_REG_REQ_REJ, FCS_MSG_DISC_COMPLETE,
                                   FCS_MSG_DISC_COMP_ON_VSAN, FCS_MSG_TIMEOUT_ON_VSAN,
                                   FCS_MSG_IP_ADDR_CHANGE};
  constexpr int kMostMessages = 8;
  constexpr uint8_t kNoMessage = 255;
  FuzzInput input(octets, length);
  start_module(input);
  for (int i = 0; i < kMostMessages && !input.empty(); ++i) {
    const uint8_t choice = input.octet();
    const uint32_t opcode = kOpcodes[choice % std::size(kOpcodes)];
    if (choice == kNoMessage) {
      notify(opcode, {});
      continue;
    }
    notify(opcode, input.octets(input.up_to(IPC_MESSAGE_ROOM)));
    for (const SentMessage &sent : std::exchange(platform.sent, {})) {
      notify(sent.opcode, sent.payload);
    }
  }
  return 0;
}
