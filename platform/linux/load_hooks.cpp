/**
 * The hooks of snmpd's `dlmod fcs .../fcs_mib.so`: init_fcs when the library is loaded, deinit_fcs
 * before it is unmapped. By then nothing of it may be left with the agent.
 */
#include "configuration_tokens.h"
#include "module_host.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

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
  module_host_connect();
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
  snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG,
                         on_configuration_read, nullptr);
  first_turn_alarm = snmp_alarm_register(0, 0, on_first_turn, nullptr);
  module_host_start(start_platform);
}

extern "C" void deinit_fcs() {
  module_host_stop();
  snmp_alarm_unregister(first_turn_alarm);
  first_turn_alarm = 0;
  configuration_read = false;
  snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG,
                           on_configuration_read, nullptr, 0);
  configuration_tokens_unregister();
}
