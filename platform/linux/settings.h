/** What snmpd.conf says about the module, and the defaults where it says nothing. */
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

struct Settings {
  std::string service_socket = "/run/fcsd/fcsd.sock";
  /** User that the FCS service must run as; empty: root or the agent's own user. */
  std::string service_user;
  std::chrono::milliseconds exchange_timeout{200};
  /** Event history file; empty: no history. */
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
 * missing.
 */
void settings_read_configuration();
