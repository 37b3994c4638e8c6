#include "control_client.h"
#include "fcsctl.h"
#include "tools/command_line/output.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>
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

void print_status(std::ostream &out, const Json &status) {
  const char *const fault =
      status.value("storeInPlace", true)
          ? ""
          : " (deleted or replaced: changes are refused until the service is restarted)";
  out << "running     pid " << status.at("pid") << ", for "
      << uptime_text(status.at("uptimeSeconds")) << '\n'
      << "store       " << status.value("store", "(its path is too long to tell)") << fault << '\n'
      << "fabric      " << status.at("vsans") << " VSANs, " << status.at("elements")
      << " elements, " << status.at("ports") << " ports, " << status.at("platforms")
      << " platforms\n"
      << "requests    " << status.at("requests") << " of the agent answered\n"
      << "connections ";
  const char *separator = "";
  for (const auto &[purpose, count] : status.at("connections").items()) {
    out << separator << count << ' ' << purpose;
    separator = ", ";
  }
  out << '\n';
}

/** A number of the answer as Prometheus has it: its name without the fcs_service_ in front. */
struct Metric {
  const char *member;
  const char *name;
  const char *type;
  const char *help;
};
constexpr Metric kMetrics[] = {
    {"uptimeSeconds", "uptime_seconds", "gauge", "For how long it has been running."},
    {"requests", "requests_total", "counter", "Requests of the agent that were answered."},
    {"failedRequests", "failed_requests_total", "counter", "Of these, with an error."},
    {"busySeconds", "busy_seconds_total", "counter", "Time that it took to answer them."},
    {"longestSeconds", "longest_request_seconds", "gauge", "Time that the longest of them took."},
    {"refusedConnections", "refused_connections_total", "counter", "Clients that were refused."},
    {"droppedConnections", "dropped_connections_total", "counter", "Clients that were dropped."},
    {"waitingNotifications", "waiting_notifications", "gauge", "Until a client takes them."},
    {"storeInPlace", "store_in_place", "gauge", "0 once the store was deleted or replaced."},
    {"vsans", "vsans", "gauge", "VSANs in the store."},
    {"elements", "elements", "gauge", "Interconnect elements in the store."},
    {"ports", "ports", "gauge", "Ports in the store."},
    {"platforms", "platforms", "gauge", "Platforms in the store."},
};

void write_head(std::ostream &out, const Metric &metric) {
  out << "# HELP fcs_service_" << metric.name << ' ' << metric.help << '\n'
      << "# TYPE fcs_service_" << metric.name << ' ' << metric.type << '\n';
}

/** In Prometheus' text format; an empty status is that of a service that does not answer. */
void write_metrics(std::ostream &out, const Json &status) {
  write_head(out, {"", "up", "gauge", "Whether the FCS service answers."});
  out << "fcs_service_up " << (status.empty() ? 0 : 1) << '\n';
  if (status.empty()) {
    return;
  }
  for (const Metric &metric : kMetrics) {
    const Json &value = status.at(metric.member);
    write_head(out, metric);
    out << "fcs_service_" << metric.name << ' '
        << (value.is_boolean() ? Json(value.get<bool>() ? 1 : 0) : value) << '\n';
  }
  write_head(out, {"", "connections", "gauge", "Clients that are connected, by purpose."});
  for (const auto &[purpose, count] : status.at("connections").items()) {
    out << "fcs_service_connections{purpose=\"" << purpose << "\"} " << count << '\n';
  }
}

struct Options {
  bool as_json = false;
  bool as_metrics = false;
  std::string output = "-";
};

void write_status(std::ostream &out, const Json &status, const Options &options) {
  if (options.as_metrics) {
    write_metrics(out, status);
  } else if (options.as_json) {
    out << status.dump() << '\n';
  } else {
    print_status(out, status);
  }
}

void show_status(const std::string &socket, const Options &options) {
  const auto write = [&options](const Json &status) {
    cli::write_output(options.output,
                      [&](std::ostream &out) { write_status(out, status, options); });
  };
  try {
    write(service_status(socket));
  } catch (const Json::exception &) {
    throw std::runtime_error(socket + ": the FCS service's answer makes no sense");
  } catch (const std::runtime_error &) {
    if (options.as_metrics) {
      write(Json()); // What a collector is to find, rather than what was true a while ago.
    }
    throw;
  }
}

} // namespace

void add_status(CLI::App &app, const Places &places) {
  CLI::App *command = app.add_subcommand("status", "Ask the running service how it is doing");
  const auto options = std::make_shared<Options>();
  CLI::Option *json = command->add_flag("--json", options->as_json, "As JSON, on one line");
  command
      ->add_flag("--prometheus", options->as_metrics,
                 "As a text collector of Prometheus takes it; with fcs_service_up 0 if there is no "
                 "answer")
      ->excludes(json);
  command->add_option("--output", options->output, "File to write; - for standard output")
      ->type_name("PATH");
  command->callback([options, &places] { show_status(places.socket, *options); });
}

} // namespace fcsctl
