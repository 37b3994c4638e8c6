/** What snmpd.conf says about the module, and the defaults where it says nothing. */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

/** A user that no process has. */
constexpr auto kNobody = static_cast<uid_t>(-1);

struct Settings {
  std::string service_socket = "/run/fcsd/fcsd.sock";
  /** User that the FCS service must run as, kNobody when the configured one does not exist; absent:
   *  root or the agent's own user. */
  std::optional<uid_t> service_uid;
  std::chrono::milliseconds exchange_timeout{200};
  /** Event history file. */
  std::string history_file = "/var/lib/snmp/fcs-history";
  /** Highest trace level that goes into the history; 0: none. */
  uint32_t history_level = 101;
};

/** The settings in force. */
const Settings &settings();

/** Registers the tokens with the agent's configuration. */
void settings_register_tokens();

/** Takes the tokens out again and forgets what they said. */
void settings_unregister_tokens();

/**
 * Reads the module's own lines out of the agent's configuration files. For a module that is loaded
 * while the agent runs: nothing else makes the agent read them, and without them its roles would be
 * missing. Net-SNMP's reader has one limit: behind a `[snmpd]` section header the agent's own lines
 * are taken again, too.
 */
void settings_read_configuration();
