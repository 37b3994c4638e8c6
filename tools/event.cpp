#include "common/program/help_text.h"
#include "common/text/octets.h"
#include "control_client.h"
#include "fcsctl.h"

#include <arpa/inet.h>
#include <cstring>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace fcsctl {

namespace {

struct Options {
  uint32_t vsan = 0;
  uint32_t reason = 9;
  uint32_t explanation = 0;
  std::string address;
  uint32_t rejects = FCS_CTL_AS_IS;
  uint32_t completions = FCS_CTL_AS_IS;
};

template <typename Payload>
std::string request(const std::string &socket, FcsControlMessage opcode, const Payload &payload) {
  return control_request(socket, opcode,
                         {reinterpret_cast<const char *>(&payload), sizeof(payload)});
}

/** Makes the event happen; an error says on which VSAN. Says if nobody gets to know of it. */
template <typename Payload>
void provoke(const std::string &socket, FcsControlMessage opcode, const Payload &payload,
             uint32_t vsan) {
  try {
    request(socket, opcode, payload);
  } catch (const std::runtime_error &error) {
    throw std::runtime_error("VSAN " + std::to_string(vsan) + ": " + error.what());
  }
  if (service_status(socket).value("/connections/notification"_json_pointer, 0) == 0) {
    std::cout << "nobody was told: neither an agent nor fcsctl watch is connected; the "
                 "notification waits for the first that comes\n";
  }
}

/** A notification has room for eight octets; an IPv4 address takes the first four. */
FcsAddressNotif address_change(uint32_t vsan, const std::string &text) {
  FcsAddressNotif change{vsan, {}};
  if (inet_pton(AF_INET, text.c_str(), change.address) == 1) {
    return change;
  }
  const auto octets = fcs::from_hex(text);
  if (!octets || octets->size() != sizeof(change.address)) {
    throw std::runtime_error("--address: " + text +
                             " is neither an IPv4 address nor 16 hexadecimal digits");
  }
  std::memcpy(change.address, octets->data(), octets->size());
  return change;
}

/** Which notifications are wanted now, after a change. */
FcsControlWanted change_wanted(const std::string &socket, const FcsControlWanted &change) {
  const std::string answer = request(socket, FCS_CTL_WANT, change);
  FcsControlWanted wanted{};
  if (answer.size() != sizeof(wanted)) {
    throw std::runtime_error(socket + ": the FCS service's answer makes no sense");
  }
  std::memcpy(&wanted, answer.data(), sizeof(wanted));
  return wanted;
}

void set_wanted(const std::string &socket, const Options &options) {
  const FcsControlWanted wanted = change_wanted(socket, {options.rejects, options.completions});
  std::cout << "rejects     " << (wanted.rejects != 0 ? "wanted" : "not wanted") << '\n'
            << "completions " << (wanted.completions != 0 ? "wanted" : "not wanted") << '\n';
}

void reject(const std::string &socket, const Options &options) {
  const FcsControlReject rejected{options.vsan, {options.reason, options.explanation}};
  provoke(socket, FCS_CTL_REJECT, rejected, options.vsan);
  if (change_wanted(socket, {FCS_CTL_AS_IS, FCS_CTL_AS_IS}).rejects == 0) {
    std::cout << "managers will not be told: notifications of rejects are not wanted (fcsctl event "
                 "wanted)\n";
  }
}

CLI::App *add_vsan_event(CLI::App &events, const char *name, const char *what, Options &options) {
  CLI::App *event = events.add_subcommand(name, what);
  event->add_option("--vsan", options.vsan, "VSAN")
      ->required()
      ->check(cli::between(1, FCS_MAX_VSAN))
      ->default_str("");
  return event;
}

} // namespace

void add_event(CLI::App &app, const Places &places) {
  CLI::App *events = app.add_subcommand("event", "Make an event happen in the running service");
  events->require_subcommand(1);
  const auto options = std::make_shared<Options>();

  CLI::App *rejected = add_vsan_event(*events, "reject", "A registration is rejected", *options);
  rejected->add_option("--reason", options->reason, "CT reject reason");
  rejected->add_option("--explanation", options->explanation, "Its explanation");
  rejected->callback([options, &places] { reject(places.socket, *options); });

  CLI::App *address = add_vsan_event(*events, "address", "A management address changes", *options);
  address->add_option("--address", options->address, "IPv4 address, or 16 hexadecimal digits")
      ->type_name("ADDRESS")
      ->required();
  address->callback([options, &places] {
    const FcsAddressNotif change = address_change(options->vsan, options->address);
    provoke(places.socket, FCS_CTL_CHANGE_ADDRESS, change, options->vsan);
  });

  add_vsan_event(*events, "complete", "The discovery of a VSAN is complete", *options)
      ->callback([options, &places] {
        provoke(places.socket, FCS_CTL_COMPLETE, FcsVsanNotif{options->vsan}, options->vsan);
      });
  add_vsan_event(*events, "timeout", "The discovery of a VSAN times out", *options)
      ->callback([options, &places] {
        provoke(places.socket, FCS_CTL_TIME_OUT, FcsVsanNotif{options->vsan}, options->vsan);
      });

  CLI::App *wanted = events->add_subcommand(
      "wanted", "Show or change which notifications the service wants the agent to send");
  wanted->footer(
      "It lasts until it is changed. The agent's own switches, fcsReqRejNotifyEnable and "
      "fcsDiscoveryCompleteNotifyEnable,\ncome on top.");
  const auto add_switch = [wanted](const char *name, uint32_t &is_wanted, const char *what) {
    wanted->add_option(name, is_wanted, what)
        ->check(CLI::Range(0, 1).description("1 for wanted, 0 for not"))
        ->default_str("");
  };
  add_switch("--rejects", options->rejects, "Those of rejected registrations");
  add_switch("--completions", options->completions, "Those of completed discoveries");
  wanted->callback([options, &places] { set_wanted(places.socket, *options); });
}

} // namespace fcsctl
