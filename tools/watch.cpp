#include "fcsctl.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "output.h"
#include "service/fabric/octets.h"
#include "time_text.h"
#include "tool_connection.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace fcsctl {

namespace {

template <typename Payload, std::string (*values)(const Payload &)>
std::string read_values(fcs::Octets octets) {
  if (octets.size() != sizeof(Payload)) {
    return "(" + std::to_string(octets.size()) + " octets that make no sense)";
  }
  Payload payload{};
  std::memcpy(&payload, octets.data(), sizeof(payload));
  return values(payload);
}

std::string vsan_text(uint32_t vsan) {
  return "VSAN " + std::to_string(vsan);
}

std::string vsan_values(const FcsVsanNotif &payload) {
  return vsan_text(payload.vsan);
}

std::string reject_values(const FcsRejectNotif &payload) {
  return "reason " + std::to_string(payload.reason) + ", explanation " +
         std::to_string(payload.explanation);
}

std::string address_values(const FcsAddressNotif &payload) {
  return vsan_text(payload.vsan) + ", address " + fcs::to_hex(payload.address, ":");
}

/** How each notification is called and read. */
struct Kind {
  uint32_t opcode;
  const char *name;
  std::string (*values)(fcs::Octets octets);
};

constexpr Kind kKinds[] = {
    {FCS_MSG_REG_REQ_REJ, "reject", read_values<FcsRejectNotif, reject_values>},
    {FCS_MSG_DISC_COMP_ON_VSAN, "complete", read_values<FcsVsanNotif, vsan_values>},
    {FCS_MSG_TIMEOUT_ON_VSAN, "timeout", read_values<FcsVsanNotif, vsan_values>},
    {FCS_MSG_IP_ADDR_CHANGE, "address", read_values<FcsAddressNotif, address_values>},
};

std::string notification_text(uint32_t opcode, fcs::Octets payload) {
  const auto *kind = std::ranges::find(kKinds, opcode, &Kind::opcode);
  if (kind == std::end(kKinds)) {
    return "unknown notification " + std::to_string(opcode);
  }
  return std::string(kind->name) + " " + kind->values(payload);
}

int64_t now_ns() {
  using namespace std::chrono;
  return duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
}

void watch(const std::string &socket) {
  ToolConnection connection(socket, ipc_wire::kNotification);
  for (;;) {
    ipc_wire::Frame frame{};
    const size_t length = connection.receive_patiently(&frame, sizeof(frame));
    if (length < sizeof(frame.header)) {
      connection.fail("the FCS service's notification makes no sense");
    }
    const fcs::Octets payload(frame.payload, length - sizeof(frame.header));
    print_line(time_text(now_ns()) + " " + notification_text(frame.header.opcode, payload));
  }
}

} // namespace

void add_watch(CLI::App &app, const Places &places) {
  CLI::App *command = app.add_subcommand(
      "watch", "Print the service's notifications as they come, until interrupted; those that "
               "waited because nobody listened come here and not to the agent");
  command->callback([&places] { watch(places.socket); });
}

} // namespace fcsctl
