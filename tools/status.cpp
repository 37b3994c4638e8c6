#include "control_client.h"
#include "fcsctl.h"

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace fcsctl {

namespace {

using Json = nlohmann::ordered_json;

/** As 3 d 04:05:06. */
std::string uptime_text(uint64_t seconds) {
  std::string text;
  if (seconds >= 86400) {
    text = std::to_string(seconds / 86400) + " d ";
  }
  const auto two_digits = [](uint64_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
  };
  return text + two_digits(seconds / 3600 % 24) + ":" + two_digits(seconds / 60 % 60) + ":" +
         two_digits(seconds % 60);
}

void print_status(const Json &status) {
  const char *const fault =
      status.value("storeInPlace", true)
          ? ""
          : " (deleted or replaced: changes are refused until the service is restarted)";
  std::cout << "running     pid " << status.at("pid") << ", for "
            << uptime_text(status.at("uptimeSeconds")) << '\n'
            << "store       " << status.value("store", "(its path is too long to tell)") << fault
            << '\n'
            << "fabric      " << status.at("vsans") << " VSANs, " << status.at("elements")
            << " elements, " << status.at("ports") << " ports, " << status.at("platforms")
            << " platforms\n"
            << "requests    " << status.at("requests") << " of the agent answered\n"
            << "connections ";
  const char *separator = "";
  for (const auto &[purpose, count] : status.at("connections").items()) {
    std::cout << separator << count << ' ' << purpose;
    separator = ", ";
  }
  std::cout << '\n';
}

void show_status(const std::string &socket, bool as_json) {
  const Json status = service_status(socket);
  try {
    if (as_json) {
      std::cout << status.dump() << '\n';
    } else {
      print_status(status);
    }
  } catch (const Json::exception &) {
    throw std::runtime_error(socket + ": the FCS service's answer makes no sense");
  }
}

} // namespace

void add_status(CLI::App &app, const Places &places) {
  CLI::App *command = app.add_subcommand("status", "Ask the running service how it is doing");
  const auto as_json = std::make_shared<bool>(false);
  command->add_flag("--json", *as_json, "Print the answer as JSON, on one line");
  command->callback([as_json, &places] { show_status(places.socket, *as_json); });
}

} // namespace fcsctl
