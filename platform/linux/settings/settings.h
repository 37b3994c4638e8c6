/** The settings of the platform, and the defaults where snmpd.conf says nothing. */
#pragma once

#include "common/system/defaults.h"
#include "platform/trace.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

/** A user that no process has. */
constexpr auto kNobody = static_cast<uid_t>(-1);

struct Settings {
  std::string service_socket = fcs::kDefaultSocket;
  /** User that the FCS service must run as, kNobody when the configured one does not exist; absent:
   *  root or the agent's own user. */
  std::optional<uid_t> service_uid;
  std::chrono::milliseconds exchange_timeout = fcs::kDefaultExchangeTimeout;
  /** Event history file. */
  std::string history_file = fcs::kDefaultHistory;
  /** Highest trace level that goes into the history; 0: none. */
  uint32_t history_level = FCS_TRACE_DETAIL;
};

/** The settings in force. */
const Settings &settings();

/** The same, for the tokens of the configuration to write to. */
Settings &settings_for_change();
