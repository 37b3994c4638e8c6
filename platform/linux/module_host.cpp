#include "module_host.h"

#include "platform/linux/agent/interception.h"
#include "platform/linux/containers/row_index_host.h"
#include "platform/linux/messaging/notification_switches.h"
#include "platform/linux/messaging/service_connection.h"
#include "platform/linux/trace/trace_output.h"

#include "feature/fabric_conf_server/snmp/fcs_mib.h"

void module_host_start(void (*before)()) {
  notification_switches_register();
  init_fcs_mib();
  // Without its stores the module has taken its variables back, as far as it can.
  if (temp_mgmt_addr_table != nullptr && temp_platform_table != nullptr) {
    intercept_requests(before);
  } else {
    release_registrations();
  }
}

void module_host_stop() {
  deinit_fcs_mib();
  release_registrations();
  row_index_release(temp_mgmt_addr_table);
  row_index_release(temp_platform_table);
  service_connection_close();
  notification_switches_unregister();
}

void module_host_connect() {
  trace_output_open();
  service_connection_open();
}
