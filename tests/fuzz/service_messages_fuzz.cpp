/**
 * Messages to the service on every kind of connection, with any opcode, flag and payload, while
 * time goes by.
 */
#include "fuzz_input.h"
#include "fuzz_store.h"

#include "service/protocol/fcs_control.h"
#include "service/protocol/kept_answers.h"
#include "service/protocol/message_dispatch.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <optional>

namespace {

struct FuzzedService {
  std::ifstream sample{SAMPLE_FABRIC};
  FuzzStore fuzzed{sample};
  fcs::FabricStore &store = fuzzed.store;
  fcs::NotificationQueue notifications;
  fcs::Configuration configuration{store, notifications};
  fcs::KeptAnswers answers;
  std::chrono::steady_clock::time_point now;
  std::optional<fcs::Discovery> discovery;
  alignas(uint32_t) std::array<uint8_t, FCS_MESSAGE_ROOM> room{};

  FuzzedService() { start_clock(); }

  void start_clock() {
    now = {};
    discovery.emplace(store, notifications, 1,
                      fcs::DiscoveryClock{[this] { return now; },
                                          [] { return fcs::DiscoveryClock::TimeOfDay(); },
                                          [](std::chrono::milliseconds) {}});
    std::filesystem::remove(store.path() + fcs::kStatusesSuffix);
  }

  void take_message(FuzzInput &input) {
    const uint8_t kind = input.octet() % 8;
    const bool from_agent = kind < 6;
    now += std::chrono::seconds(input.octet() % 16);
    ipc_wire::FrameHeader header{};
    header.opcode = input.take<uint16_t>();
    header.flag = input.take<uint16_t>();
    const std::vector<uint8_t> payload = input.octets(input.up_to(FCS_MESSAGE_ROOM));
    if (from_agent && header.opcode == FCS_MSG_REQUEST) {
      const fcs::RequestContext context{store, configuration, "user", input.octet()};
      const auto answer = answers.answer(context, header.flag, payload, room);
      check(answer);
      require_kept_is_true(context, header.flag, payload, answer);
      require(header.flag != FCS_OP_GET || answer.result != FCS_OK || payload.size() <= 4 ||
                  memcmp(&payload[4], room.data(), 4) == 0,
              "a row that is read has the index asked for");
    } else {
      check(fcs::answer_message(from_agent ? fcs::kAgentMessages : fcs::kControlMessages,
                                {store, *discovery}, header, payload, room));
    }
    const auto reply =
        ipc_wire::reply_to_greeting(ipc_wire::greeting_fault(payload.data(), payload.size()));
    require(reply.reason[sizeof(reply.reason) - 1] == '\0', "a refusal ends");
    discovery->run_due();
  }

  /** What is told of a read, kept or not, is what the store tells. */
  void require_kept_is_true(const fcs::RequestContext &context, uint32_t operation,
                            fcs::Octets request, const fcs::Answer &told) {
    if (operation != FCS_OP_GET && operation != FCS_OP_GETNEXT) {
      return;
    }
    alignas(uint32_t) std::array<uint8_t, FCS_MESSAGE_ROOM> fresh{};
    const auto answer = fcs::answer_request(context, operation, request, fresh);
    require(answer.result == told.result && answer.length == told.length &&
                answer.rows == told.rows && answer.end == told.end &&
                std::equal(fresh.begin(), fresh.begin() + answer.length, room.begin()),
            "a read is answered by what the store holds");
  }

  static void check(const fcs::Answer &answer) {
    require(answer.result == FCS_OK || (answer.result % 256 != 0 && answer.length == 0),
            "a failure has a code that stays one, and no record");
    require(answer.length <= FCS_MESSAGE_ROOM && answer.rows > 0 &&
                answer.length % answer.rows == 0,
            "an answer has room in a message, and its records are of one length");
    require(answer.result != FCS_ERR_STORE, "no request makes the store fail");
  }

  /** Ends what has begun, and forgets it. */
  void reset() {
    constexpr std::chrono::seconds kLongestDiscovery{10}; // In the sample fabric.
    now += kLongestDiscovery;
    discovery->run_due();
    for (; !notifications.empty(); notifications.pop()) {
      require(notifications.front().payload.size() <= FCS_MESSAGE_ROOM,
              "a notification has room in a message");
    }
    if (fuzzed.restore()) {
      answers = fcs::KeptAnswers();
    }
    if (now.time_since_epoch() > std::chrono::years(100)) {
      start_clock();
    }
  }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *octets, size_t length) {
  constexpr int kMostMessages = 8;
  static FuzzedService service;
  FuzzInput input(octets, length);
  for (int i = 0; i < kMostMessages && !input.empty(); ++i) {
    service.take_message(input);
  }
  service.reset();
  return 0;
}
