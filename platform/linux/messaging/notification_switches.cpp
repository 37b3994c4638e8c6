#include "notification_switches.h"

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "platform/agent_host.h"

#include <cstdio>
#include <string>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

namespace {

/** A line of the store: the token, the message opcode, and 0 or 1. */
constexpr char kToken[] = "fcsNotifyEnabled";

struct NotificationSwitch {
  uint32_t opcode;
  int32_t enabled;
};

/** Off until a manager switches them on. */
NotificationSwitch switches[] = {{FCS_MSG_REG_REQ_REJ, 0}, {FCS_MSG_DISC_COMPLETE, 0}};

/** Of the turn of the agent's loop in which they are stored; 0 when the store is up to date. */
unsigned int store_alarm;

NotificationSwitch *switch_of(uint32_t opcode) {
  for (NotificationSwitch &candidate : switches) {
    if (candidate.opcode == opcode) {
      return &candidate;
    }
  }
  return nullptr;
}

void read_line(const char * /*token*/, char *arguments) {
  unsigned int opcode = 0;
  int enabled = 0;
  if (sscanf(arguments, "%u %d", &opcode, &enabled) != 2 || switch_of(opcode) == nullptr ||
      (enabled != 0 && enabled != 1)) {
    netsnmp_config_error("%s: expected one of the opcodes 1407 and 1408, and 0 or 1", kToken);
    return;
  }
  switch_of(opcode)->enabled = enabled;
}

int write_lines(int /*major*/, int /*minor*/, void * /*server*/, void * /*client*/) {
  for (const NotificationSwitch &entry : switches) {
    std::string line = std::string(kToken) + " " + std::to_string(entry.opcode) + " " +
                       std::to_string(entry.enabled);
    snmpd_store_config(line.data());
  }
  return SNMPERR_SUCCESS;
}

/** Has the agent store what it keeps, if a switch has changed since. */
void store_changes() {
  if (store_alarm != 0) {
    snmp_alarm_unregister(store_alarm);
    store_alarm = 0;
    snmp_store(netsnmp_ds_get_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE));
  }
}

void on_next_turn(unsigned int /*alarm*/, void * /*client*/) {
  store_changes();
}

} // namespace

void notification_switches_register() {
  register_app_config_handler(kToken, read_line, nullptr, nullptr);
  snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_STORE_DATA, write_lines, nullptr);
}

void notification_switches_unregister() {
  store_changes();
  snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_STORE_DATA, write_lines, nullptr,
                           0);
  unregister_app_config_handler(kToken);
}

bool notification_is_switched_on(uint32_t opcode) {
  const NotificationSwitch *entry = switch_of(opcode);
  return entry == nullptr || entry->enabled == 1;
}

int32_t agent_notif_enable_get(uint32_t opcode) {
  const NotificationSwitch *entry = switch_of(opcode);
  return entry == nullptr ? 0 : entry->enabled;
}

int32_t agent_notif_enable_set(uint32_t opcode, int32_t enable) {
  NotificationSwitch *entry = switch_of(opcode);
  if (entry == nullptr) {
    return -1;
  }
  if (entry->enabled != enable) {
    entry->enabled = enable;
    // Once for all of a request's changes, but not as late as the agent's end, which may be sudden.
    if (store_alarm == 0) {
      store_alarm = snmp_alarm_register(0, 0, on_next_turn, nullptr);
    }
  }
  return 0;
}
