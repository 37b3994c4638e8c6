/**
 * The hooks of snmpd's `dlmod fcs .../fcs_mib.so`: init_fcs when the library is loaded, deinit_fcs
 * before it is unmapped. By then nothing of it may be left with the agent.
 */
#include "agent_request.h"
#include "service_connection.h"
#include "settings.h"
#include "trace_output.h"

#include "feature/fabric_conf_server/snmp/fcs_mib.h"

namespace {

/** Pending until the configuration has been read after a load. */
unsigned int first_turn_alarm;

void apply_settings() {
  trace_output_open();
  service_connection_open();
}

int on_configuration_read(int /*major*/, int /*minor*/, void * /*server*/, void * /*client*/) {
  snmp_alarm_unregister(first_turn_alarm);
  first_turn_alarm = 0;
  apply_settings();
  return SNMPERR_SUCCESS;
}

/** The agent is running and has not read its configuration since the load: the module was loaded by
 *  a manager. */
void on_first_turn(unsigned int /*alarm*/, void * /*client*/) {
  first_turn_alarm = 0;
  settings_read_configuration();
  apply_settings();
}

} // namespace

extern "C" void init_fcs() {
  settings_register_tokens();
  snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG,
                         on_configuration_read, nullptr);
  first_turn_alarm = snmp_alarm_register(0, 0, on_first_turn, nullptr);
  init_fcs_mib();
  if (temp_mgmt_addr_table != nullptr && temp_platform_table != nullptr) {
    agent_request_intercept();
  } else {
    agent_request_release();
  }
}

extern "C" void deinit_fcs() {
  deinit_fcs_mib();
  agent_request_release();
  row_index_destroy(temp_mgmt_addr_table);
  row_index_destroy(temp_platform_table);
  service_connection_close();
  snmp_alarm_unregister(first_turn_alarm);
  snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG,
                           on_configuration_read, nullptr, 0);
  settings_unregister_tokens();
}
