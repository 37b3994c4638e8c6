/**
 * Messages to the service on every kind of connection, with any opcode, flag and payload, while
 * time goes by.
 */
#include "fuzz_input.h"
#include "fuzz_store.h"

#include "service/protocol/fcs_control.h"
#include "service/protocol/message_dispatch.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <optional>

namespace {

class FuzzedService {
public:
  FuzzedService() { start_clock(); }

  void take_message(FuzzInput &input) {
    constexpr uint8_t kExchanges = 6; // Of 8 messages.
    const uint8_t kind = input.octet() % 8;
    now_ += std::chrono::seconds(input.octet() % 16);
    ipc_wire::FrameHeader header{};
    header.opcode = input.take<uint16_t>();
    header.flag = input.take<uint16_t>();
    const std::vector<uint8_t> payload = input.octets(input.up_to(FCS_MESSAGE_ROOM));
    if (kind < kExchanges && header.opcode == FCS_MSG_REQUEST) {
      const fcs::RequestContext context{store_.store, configuration_, "user", input.octet()};
      check_record(header.flag, payload, fcs::answer_request(context, header.flag, payload, room_));
    } else {
      check(fcs::answer_message(kind < kExchanges ? fcs::kAgentMessages : fcs::kControlMessages,
                                {store_.store, *discovery_}, header, payload, room_));
    }
    check_greeting(payload);
    discovery_->run_due();
  }

  /** Ends what has begun, and forgets it. */
  void reset() {
    now_ += kLongestDiscovery;
    discovery_->run_due();
    for (; !notifications_.empty(); notifications_.pop()) {
      require(notifications_.front().payload.size() <= FCS_MESSAGE_ROOM,
              "a notification has room in a message");
    }
    store_.restore();
    if (now_ > kEndOfTime) {
      start_clock();
    }
  }

private:
  static constexpr std::chrono::seconds kLongestDiscovery{10}; // In the sample fabric.
  static constexpr std::chrono::steady_clock::time_point kEndOfTime{std::chrono::years(100)};

  void start_clock() {
    now_ = {};
    discovery_.emplace(store_.store, notifications_, 1,
                       fcs::DiscoveryClock{[this] { return now_; },
                                           [] { return fcs::DiscoveryClock::TimeOfDay(); },
                                           [](std::chrono::milliseconds) {}});
    std::filesystem::remove(store_.store.path() + fcs::kStatusesSuffix);
  }

  static void check(const fcs::Answer &answer) {
    require(answer.result == FCS_OK || (answer.result % 256 != 0 && answer.length == 0),
            "a failure has a code that stays one, and no record");
    require(answer.length <= FCS_MESSAGE_ROOM, "an answer has room in a message");
    require(answer.rows > 0 && answer.length % answer.rows == 0, "records are of one length");
    require(answer.result != FCS_ERR_STORE, "no request makes the store fail");
  }

  void check_record(uint32_t flag, const std::vector<uint8_t> &request, const fcs::Answer &answer) {
    check(answer);
    if (flag == FCS_OP_GET && answer.result == FCS_OK && request.size() > sizeof(uint32_t)) {
      require(memcmp(request.data() + sizeof(uint32_t), room_.data(), sizeof(uint32_t)) == 0,
              "a row that is read has the index asked for");
    }
  }

  static void check_greeting(const std::vector<uint8_t> &message) {
    const auto reply =
        ipc_wire::reply_to_greeting(ipc_wire::greeting_fault(message.data(), message.size()));
    require(reply.reason[sizeof(reply.reason) - 1] == '\0', "a refusal ends");
  }

  std::ifstream sample_{SAMPLE_FABRIC};
  FuzzStore store_{sample_};
  fcs::NotificationQueue notifications_;
  fcs::Configuration configuration_{store_.store, notifications_};
  std::chrono::steady_clock::time_point now_;
  std::optional<fcs::Discovery> discovery_;
  alignas(uint32_t) std::array<uint8_t, FCS_MESSAGE_ROOM> room_{};
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
