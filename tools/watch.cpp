#include "command_line/output.h"
#include "command_line/time_text.h"
#include "command_line/vsan_list.h"
#include "common/text/octets.h"
#include "fcsctl.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "tool_connection.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

namespace fcsctl {

namespace {

using Json = nlohmann::ordered_json;

struct Options {
  cli::VsanList vsans;
  bool as_json = false;
};

template <typename Payload, Json (*values)(const Payload &)> Json read_values(fcs::Octets octets) {
  if (octets.size() != sizeof(Payload)) {
    return {{"fault", std::to_string(octets.size()) + " octets that make no sense"}};
  }
  Payload payload{};
  std::memcpy(&payload, octets.data(), sizeof(payload));
  return values(payload);
}

Json vsan_values(const FcsVsanNotif &payload) {
  return {{"vsan", payload.vsan}};
}

Json reject_values(const FcsRejectNotif &payload) {
  return {{"reason", payload.reason}, {"explanation", payload.explanation}};
}

Json address_values(const FcsAddressNotif &payload) {
  return {{"vsan", payload.vsan}, {"address", fcs::to_hex(payload.address, ":")}};
}

/** How each notification is called and read. */
struct Kind {
  uint32_t opcode;
  const char *name;
  Json (*values)(fcs::Octets octets);
};

constexpr Kind kKinds[] = {
    {FCS_MSG_REG_REQ_REJ, "reject", read_values<FcsRejectNotif, reject_values>},
    {FCS_MSG_DISC_COMP_ON_VSAN, "complete", read_values<FcsVsanNotif, vsan_values>},
    {FCS_MSG_TIMEOUT_ON_VSAN, "timeout", read_values<FcsVsanNotif, vsan_values>},
    {FCS_MSG_IP_ADDR_CHANGE, "address", read_values<FcsAddressNotif, address_values>},
};

struct Notification {
  std::string name;
  Json values;
};

Notification read_notification(uint32_t opcode, fcs::Octets payload) {
  const auto *kind = std::ranges::find(kKinds, opcode, &Kind::opcode);
  if (kind == std::end(kKinds)) {
    return {"unknown", {{"opcode", opcode}}};
  }
  return {kind->name, kind->values(payload)};
}

/** As complete VSAN 7. */
std::string text_line(int64_t time_ns, const Notification &notification) {
  std::string line = cli::time_text(time_ns) + " " + notification.name;
  const char *separator = " ";
  for (const auto &[name, value] : notification.values.items()) {
    line += separator + (name == "vsan" ? "VSAN" : name) + " " +
            (value.is_string() ? value.get<std::string>() : value.dump());
    separator = ", ";
  }
  return line;
}

std::string json_line(int64_t time_ns, const Notification &notification) {
  Json line = {{"time", cli::utc_time_text(time_ns)}, {"notification", notification.name}};
  line.update(notification.values);
  return line.dump();
}

/** Whether it bears one of the VSANs, or none at all. */
bool is_wanted(const Notification &notification, const cli::VsanList &vsans) {
  const auto vsan = notification.values.find("vsan");
  return vsan == notification.values.end() || vsans.has(vsan->get<uint32_t>());
}

int64_t now_ns() {
  using namespace std::chrono;
  return duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
}

void watch(const std::string &socket, const Options &options) {
  ToolConnection connection(socket, ipc_wire::kNotification);
  for (;;) {
    ipc_wire::Frame frame{};
    const size_t length = connection.receive_patiently(&frame, sizeof(frame));
    if (length < sizeof(frame.header)) {
      connection.fail("the FCS service's notification makes no sense");
    }
    const fcs::Octets payload(frame.payload, length - sizeof(frame.header));
    const Notification notification = read_notification(frame.header.opcode, payload);
    if (is_wanted(notification, options.vsans)) {
      cli::print_line((options.as_json ? json_line : text_line)(now_ns(), notification));
    }
  }
}

} // namespace

void add_watch(CLI::App &app, const Places &places) {
  CLI::App *command = app.add_subcommand("watch", "Print the service's notifications as they come");
  command->footer("It runs until it is interrupted. Notifications that waited because nobody was "
                  "connected come here and\nnot to the agent.");
  const auto options = std::make_shared<Options>();
  cli::add_vsan_option(
      *command, options->vsans,
      "Only notifications of these VSANs, such as 1-100,2100, and rejects, which bear "
      "no VSAN");
  command->add_flag("--json", options->as_json, "Print each one as a line of JSON");
  command->callback([options, &places] { watch(places.socket, *options); });
}

} // namespace fcsctl
