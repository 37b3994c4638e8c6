/**
 * fcs-agentx: the SNMP module in a process of its own, behind the AgentX master of an agent that
 * may run on another machine.
 */
#include "common/program/program.h"
#include "contexts.h"
#include "platform/linux/configuration_tokens.h"
#include "platform/linux/messaging/notification_switches.h"
#include "platform/linux/messaging/notifications.h"
#include "platform/linux/messaging/service_connection.h"
#include "platform/linux/module_host.h"
#include "platform/linux/request/agent_request.h"
#include "platform/linux/roles/roles.h"
#include "subagent.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <sys/un.h>
#include <utility>
#include <vector>

namespace {

/** Octets of a context's name (SNMP-VIEW-BASED-ACM-MIB, vacmContextName). */
constexpr size_t kLongestContext = 32;

struct Options {
  std::string master = "unix:/var/agentx/master";
  std::vector<std::string> contexts;
  std::string user;
  std::string config = "/etc/fcs/fcs-agentx.conf";
  std::string state = "/var/lib/fcs-agentx";
  std::string debug;
  bool console = false;
};

Options options;
std::vector<std::string> contexts;
std::map<std::string, std::string> user_of_context;

/** Takes NAME or NAME=USER apart. */
void read_contexts() {
  if (options.contexts.empty()) {
    options.contexts = {""};
  }
  for (const std::string &word : options.contexts) {
    const size_t sign = word.find('=');
    const std::string name = word.substr(0, sign);
    if (name.size() > kLongestContext) {
      throw std::runtime_error("--context " + name + " has more than " +
                               std::to_string(kLongestContext) + " octets");
    }
    if (!user_of_context
             .emplace(name, sign == std::string::npos ? options.user : word.substr(sign + 1))
             .second) {
      throw std::runtime_error("--context " + name + " stands there twice");
    }
    contexts.push_back(name);
  }
}

/** What keeps everybody of a context from seeing anything; empty when nothing does. */
std::string role_fault(const std::string &context, const std::string &user) {
  const std::string where = context.empty() ? "the default context" : "context " + context;
  if (user.empty()) {
    return options.config +
           " has roles, and AgentX does not say who is asking: --user NAME says "
           "whose role everyone in " +
           where + " has";
  }
  return roles_know(user) ? ""
                          : options.config + " gives user " + user + " of " + where + " no role";
}

std::string role_faults() {
  std::string faults;
  for (const auto &[context, user] : user_of_context) {
    if (const std::string fault = roles_are_configured() ? role_fault(context, user) : "";
        !fault.empty()) {
      faults += (faults.empty() ? "" : "; ") + fault;
    }
  }
  return faults;
}

bool is_connected;

/** A master may leave behind what it has asked. */
void connect_service() {
  if (subagent_has_master() && !std::exchange(is_connected, true)) {
    module_host_connect();
  }
}

/** The service then keeps its notifications until there is a master to send them. */
void disconnect_service() {
  service_connection_close();
  is_connected = false;
  agent_request_forget_last();
}

/** What the module prints is for a console: some 30 to 60 octets for each varbind that is read. */
void silence_module() {
  if (!options.console) {
    (void)!freopen("/dev/null", "w", stdout);
    (void)!freopen("/dev/null", "w", stderr);
  }
}

void register_objects() {
  silence_module();
  register_module_in(contexts);
  module_host_start(connect_service);
  register_uptime();
}

/** Whatever is wrong then, nobody sees more: a user without a role sees no VSAN. */
void read_configuration_again() {
  try {
    configuration_tokens_read_file(options.config);
    snmp_log(LOG_INFO, "fcs-agentx: %s is read again\n", options.config.c_str());
  } catch (const std::runtime_error &error) {
    snmp_log(LOG_ERR, "fcs-agentx: %s; what was read before stays in force\n", error.what());
  }
  if (const std::string faults = role_faults(); !faults.empty()) {
    snmp_log(LOG_ERR, "fcs-agentx: %s; nothing of a VSAN is shown there\n", faults.c_str());
  }
  if (is_connected) {
    module_host_connect();
  }
}

std::string names_of_contexts() {
  std::string names;
  for (const std::string &context : contexts) {
    names += (names.empty() ? "" : ", ") +
             (context.empty() ? "the default context" : "context " + context);
  }
  return names;
}

/** The directory is made, but not a whole path that may be mistyped. */
void check_state() {
  const std::filesystem::path directory = std::filesystem::absolute(options.state) / "";
  if (const auto parent = directory.parent_path().parent_path();
      !std::filesystem::is_directory(parent)) {
    throw std::runtime_error("--state " + options.state + ": there is no directory " +
                             parent.string());
  }
}

void serve() {
  read_contexts();
  check_state();
  if (!options.debug.empty()) {
    debug_register_tokens(options.debug.c_str());
    snmp_set_do_debugging(1);
  }
  configuration_tokens_read_file(options.config);
  if (const std::string faults = role_faults(); !faults.empty()) {
    throw std::runtime_error(faults);
  }
  agent_requests_are_relayed(user_of_context);
  notifications_come_from(contexts.front());
  serve_as_subagent({.name = "fcs-agentx",
                     .master = options.master,
                     .directory = options.state,
                     .objects = names_of_contexts(),
                     .register_objects = register_objects,
                     .attached = connect_service,
                     .detached = disconnect_service,
                     .hung_up = read_configuration_again});
  notification_switches_unregister();
}

std::string master_fault(const std::string &address) {
  constexpr size_t kLongestPath = sizeof(sockaddr_un::sun_path) - 1;
  if (address.starts_with("unix:/") && address.size() > 6) {
    return address.size() - 5 <= kLongestPath ? ""
                                              : "'" + address + "': the path has more than " +
                                                    std::to_string(kLongestPath) + " characters";
  }
  uint16_t port = 0;
  const size_t colon = address.rfind(':');
  const char *const end = address.data() + address.size();
  const bool is_host = address.starts_with("tcp:") && colon > 4 &&
                       std::from_chars(address.data() + colon + 1, end, port).ptr == end &&
                       port > 0;
  return is_host ? "" : "'" + address + "' is neither unix:PATH nor tcp:HOST:PORT";
}

void describe(CLI::App &app) {
  app.add_option("--master", options.master,
                 "AgentX master to serve: unix:PATH, the path absolute, or tcp:HOST:PORT")
      ->type_name("ADDRESS")
      ->check(CLI::Validator(master_fault, ""));
  app.add_option("--context", options.contexts,
                 "SNMP context to answer in, instead of the default one; notifications come from "
                 "the first. NAME=USER gives those who ask there the role of USER")
      ->default_str("")
      ->type_name("NAME")
      ->allow_extra_args(false);
  app.add_option("--user", options.user, "User whose role everyone has who asks; needed with roles")
      ->type_name("NAME");
  app.add_option("--config", options.config, "Configuration file, with the tokens of the plug-in")
      ->type_name("FILE");
  app.add_option("--state", options.state, "Directory of its own, for what outlives it")
      ->type_name("DIRECTORY");
  app.add_option("--debug", options.debug, "Debug tokens of Net-SNMP to log, such as fcs_request")
      ->type_name("TOKENS");
  app.add_flag("--console", options.console,
               "Let the module print to standard output and error what it prints; the log is on "
               "standard error either way");
  app.callback(serve);
}

} // namespace

int main(int argc, char **argv) {
  return run_program(
      {"fcs-agentx",
       "The FCS MIB of one switch as a subagent of AgentX: reads the module's rows "
       "from the FCS service of its machine, and hands them to an SNMP agent elsewhere.",
       describe},
      argc, argv);
}
