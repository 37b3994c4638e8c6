/** The notification switches and the agent's store: what is stored, how often, and when. */
#include "platform/linux/agent/notification_switches.h"

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "platform/agent_host.h"

#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace {

int times_stored;

int count(int /*major*/, int /*minor*/, void * /*server*/, void * /*client*/) {
  ++times_stored;
  return SNMPERR_SUCCESS;
}

TEST(NotificationSwitches, AreStoredOnceBehindARequestThatChangesThem) {
  char directory[] = "/tmp/fcs-switches-XXXXXX";
  ASSERT_NE(mkdtemp(directory), nullptr);
  set_persistent_directory(directory);
  netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE, "snmpd");
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);
  init_snmp_alarm();
  notification_switches_register();
  snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_STORE_DATA, count, nullptr);

  for (int i = 0; i < 2501; ++i) {
    EXPECT_EQ(agent_notif_enable_set(FCS_MSG_REG_REQ_REJ, (i + 1) % 2), 0);
  }
  EXPECT_EQ(times_stored, 0) << "while the request is served";
  run_alarms();
  EXPECT_EQ(times_stored, 1);
  EXPECT_EQ(agent_notif_enable_set(FCS_MSG_REG_REQ_REJ, 1), 0);
  run_alarms();
  EXPECT_EQ(times_stored, 1) << "an unchanged value";
  EXPECT_EQ(agent_notif_enable_set(FCS_MSG_DISC_COMPLETE, 1), 0);
  notification_switches_unregister();
  EXPECT_EQ(times_stored, 2) << "the module is unloaded before the agent's next turn";
  run_alarms();
  EXPECT_EQ(times_stored, 2);

  snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_STORE_DATA, count, nullptr, 0);
  std::filesystem::remove_all(directory);
}

} // namespace
