/**
 * The hooks of snmpd's `dlmod fcs .../fcs_mib.so`: init_fcs when the library is loaded, deinit_fcs
 * before it is unmapped. By then nothing of it may be left with the agent.
 */
#include "configuration_tokens.h"
#include "platform/linux/agent/interception.h"
#include "platform/linux/containers/row_index_host.h"
#include "platform/linux/messaging/notification_switches.h"
#include "platform/linux/messaging/service_connection.h"
#include "platform/linux/trace/trace_output.h"

#include "feature/fabric_conf_server/snmp/fcs_mib.h"

namespace {

/**
 * The settings are put to use on the agent's first turn after it has read them: by then it has
 * dropped its privileges, so that the history and the connections are those of the user it runs as.
 */
unsigned int first_turn_alarm;
bool configuration_read;

void start_platform() {
  if (first_turn_alarm == 0) {
    return;
  }
  snmp_alarm_unregister(first_turn_alarm);
  first_turn_alarm = 0;
  if (!configuration_read) {
    configuration_tokens_read(); // A manager has loaded the module into a running agent.
  }
  trace_output_open();
  service_connection_open();
}

void on_first_turn(unsigned int /*alarm*/, void * /*client*/) {
  start_platform();
}

int on_configuration_read(int /*major*/, int /*minor*/, void * /*server*/, void * /*client*/) {
  configuration_read = true;
  if (first_turn_alarm == 0) {
    first_turn_alarm = snmp_alarm_register(0, 0, on_first_turn, nullptr);
  }
  return SNMPERR_SUCCESS;
}

} // namespace

extern "C" void init_fcs() {
  configuration_tokens_register();
  notification_switches_register();
  snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG,
                         on_configuration_read, nullptr);
  first_turn_alarm = snmp_alarm_register(0, 0, on_first_turn, nullptr);
  init_fcs_mib();
  // Without its stores the module has taken its variables back, as far as it can.
  if (temp_mgmt_addr_table != nullptr && temp_platform_table != nullptr) {
    intercept_requests(start_platform);
  } else {
    release_registrations();
  }
}

extern "C" void deinit_fcs() {
  deinit_fcs_mib();
  release_registrations();
  row_index_release(temp_mgmt_addr_table);
  row_index_release(temp_platform_table);
  service_connection_close();
  snmp_alarm_unregister(first_turn_alarm);
  first_turn_alarm = 0;
  configuration_read = false;
  snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG,
                           on_configuration_read, nullptr, 0);
  notification_switches_unregister();
  configuration_tokens_unregister();
}
