/** The module being loaded and unloaded, what snmpd.conf says to it, and what it leaves behind. */
#include "agent.h"

#include "common/history/event_history.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "platform/agent_host.h"
#include "platform/linux/messaging/notification_switches.h"
#include "platform/linux/trace/trace_output.h"
#include "platform/trace.h"

#include <filesystem>
#include <fstream>
#include <pwd.h>

using testing::HasSubstr;

extern "C" void init_fcs();
extern "C" void deinit_fcs();

namespace {

class Loading : public Agent {
protected:
  Loading() {
    std::ofstream(file("fcs.conf")) << "fcsExchangeTimeout 50\nfcsHistoryFile " << file("history")
                                    << "\nsomebodyElses line\nfcsRole ops 1 x\n";
    const std::string files = file("none") + "," + file("fcs.conf");
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OPTIONALCONFIG, files.c_str());
  }

  std::string file(const char *name) const { return std::string(directory_) + "/" + name; }

  static bool has_a_token() {
    for (const config_line *line = read_config_get_handlers("snmpd"); line != nullptr;
         line = line->next) {
      if (strncasecmp(line->config_token, "fcs", 3) == 0) {
        return true;
      }
    }
    return false;
  }
};

TEST_F(Loading, IntoARunningAgentReadsTheModulesOwnLinesOnTheFirstTurn) {
  for (const bool request_comes_first : {false, true}) {
    peers_.clear();
    init_fcs();
    EXPECT_TRUE(peers_.empty() && log().empty());
    if (request_comes_first) {
      Message(SNMP_MSG_GET, {{1, 1, 7, 0}}).serve(MODE_GET);
    }
    pass(0ms);
    ASSERT_EQ(peers_.size(), 2U);
    EXPECT_EQ(settings().exchange_timeout, 50ms);
    EXPECT_TRUE(std::filesystem::exists(file("history")));
    const std::string said = log();
    EXPECT_THAT(said, HasSubstr("line 4: Error: fcsRole: VSAN list 'x': 'x' is not a VSAN"));
    EXPECT_THAT(said, HasSubstr("exchanges: connected to the FCS service"));
    EXPECT_THAT(said, HasSubstr("notifications: connected to the FCS service"));
    EXPECT_THAT(said, Not(HasSubstr("somebodyElses")));
    Message message(SNMP_MSG_GET, {{1, 1, 7, 0}});
    message.serve(MODE_GET);
    EXPECT_TRUE(message.is_answered());
    deinit_fcs();
    EXPECT_EQ(settings().exchange_timeout, 200ms);
    EXPECT_FALSE(has_a_token());
    char octet = 0;
    while (recv(peers_[1].get(), &octet, 1, MSG_DONTWAIT) > 0) {
    }
    EXPECT_EQ(recv(peers_[1].get(), &octet, 1, MSG_DONTWAIT), 0) << "hung up";
    pass(1h);
    EXPECT_EQ(peers_.size(), 2U);
    EXPECT_EQ(log(), "");
  }
}

TEST_F(Loading, BehindTheAgentsOwnReadingTakesWhatThatHasRead) {
  const auto agent_has_read = [] {
    snmp_call_callbacks(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, nullptr);
  };
  init_fcs();
  configure("fcsExchangeTimeout 60");
  configure("fcsHistoryLevel none");
  agent_has_read();
  pass(0ms);
  EXPECT_EQ(peers_.size(), 2U);
  EXPECT_EQ(settings().exchange_timeout, 60ms);
  EXPECT_FALSE(std::filesystem::exists(file("history")));
  agent_has_read(); // As after a SIGHUP.
  EXPECT_EQ(peers_.size(), 2U);
  pass(0ms);
  EXPECT_EQ(peers_.size(), 4U);
  pass(0ms);
  EXPECT_EQ(peers_.size(), 4U);
  deinit_fcs();
  agent_has_read();
  pass(0ms);
  EXPECT_EQ(peers_.size(), 4U);
}

TEST_F(Loading, LinesOfTheConfiguration) {
  configuration_tokens_register();
  const std::string longest = "/" + std::string(106, 's');
  const struct {
    std::string line;
    const char *fault; ///< Empty: the line is good.
    std::function<bool(const Settings &)> holds;
  } cases[] = {
      {"fcsServiceSocket  " + longest + " ", "",
       [&](const Settings &s) { return s.service_socket == longest; }},
      {"fcsServiceSocket " + longest + "s", "is not an absolute path of at most 107 characters",
       [&](const Settings &s) { return s.service_socket == longest; }},
      {"fcsServiceSocket relative", "fcsServiceSocket: 'relative' is not an absolute path",
       [&](const Settings &s) { return s.service_socket == longest; }},
      {"fcsServiceUser daemon", "",
       [](const Settings &s) { return s.service_uid == getpwnam("daemon")->pw_uid; }},
      {"fcsServiceUser no-such-user", "fcsServiceUser: there is no user 'no-such-user'",
       [](const Settings &s) { return s.service_uid == kNobody; }},
      {"fcsExchangeTimeout 10", "", [](const Settings &s) { return s.exchange_timeout == 10ms; }},
      {"fcsExchangeTimeout 10000", "", [](const Settings &s) { return s.exchange_timeout == 10s; }},
      {"fcsExchangeTimeout 9",
       "fcsExchangeTimeout: '9' is not a number of milliseconds within 10 to 10000",
       [](const Settings &s) { return s.exchange_timeout == 10s; }},
      {"fcsExchangeTimeout 10001", "'10001' is not", [](const Settings &) { return true; }},
      {"fcsExchangeTimeout 20ms", "'20ms' is not", [](const Settings &) { return true; }},
      {"fcsHistoryFile /h", "", [](const Settings &s) { return s.history_file == "/h"; }},
      {"fcsHistoryFile h", "fcsHistoryFile: 'h' is not an absolute path",
       [](const Settings &s) { return s.history_file == "/h"; }},
      {"fcsHistoryLevel event", "", [](const Settings &s) { return s.history_level == 100; }},
      {"fcsHistoryLevel detail", "", [](const Settings &s) { return s.history_level == 101; }},
      {"fcshistorylevel none", "", [](const Settings &s) { return s.history_level == 0; }},
      {"fcsHistoryLevel loud", "fcsHistoryLevel: 'loud' is none of none, event, detail",
       [](const Settings &s) { return s.history_level == 0; }},
      {"fcsRoleUser bert ops", "fcsRoleUser: role 'ops' is not defined above this line",
       [](const Settings &) { return true; }},
  };
  for (const auto &c : cases) {
    const std::string said = configure(c.line);
    EXPECT_THAT(said, HasSubstr(c.fault)) << c.line;
    EXPECT_EQ(said.empty(), *c.fault == '\0') << said;
    EXPECT_TRUE(c.holds(settings())) << c.line;
  }
  configuration_tokens_unregister();
  EXPECT_EQ(settings().history_file, Settings().history_file);
}

TEST_F(Loading, SwitchesAreStoredOnceBehindARequestThatChangesThem) {
  set_persistent_directory(directory_);
  notification_switches_register();
  const auto stored = [this] {
    std::ifstream store(file("snmpd.conf"));
    std::string lines;
    for (std::string line; std::getline(store, line);) {
      lines += line.starts_with("fcs") ? line + ";" : "";
    }
    store.close();
    std::filesystem::remove(file("snmpd.conf"));
    return lines;
  };
  for (const uint32_t opcode : {FCS_MSG_REG_REQ_REJ, FCS_MSG_DISC_COMPLETE}) {
    agent_notif_enable_set(opcode, 0);
  }
  pass(0ms);
  stored();
  for (int i = 0; i < 2501; ++i) {
    EXPECT_EQ(agent_notif_enable_set(FCS_MSG_REG_REQ_REJ, (i + 1) % 2), 0);
  }
  EXPECT_EQ(stored(), "") << "while the request is served";
  pass(0ms);
  EXPECT_EQ(stored(), "fcsNotifyEnabled 1407 1;fcsNotifyEnabled 1408 0;");
  EXPECT_EQ(agent_notif_enable_set(FCS_MSG_REG_REQ_REJ, 1), 0);
  pass(0ms);
  EXPECT_EQ(stored(), "") << "an unchanged value";
  EXPECT_EQ(agent_notif_enable_set(FCS_MSG_TIMEOUT_ON_VSAN, 1), -1);
  EXPECT_EQ(agent_notif_enable_get(FCS_MSG_TIMEOUT_ON_VSAN), 0);

  EXPECT_EQ(configure("fcsNotifyEnabled 1407 0") + configure("fcsNotifyEnabled 1408 1"), "");
  for (const char *line : {"1407", "1409 1", "1407 2", "x 1", "1407 -1"}) {
    EXPECT_THAT(
        configure(std::string("fcsNotifyEnabled ") + line),
        HasSubstr("fcsNotifyEnabled: expected one of the opcodes 1407 and 1408, and 0 or 1"));
  }
  EXPECT_EQ(agent_notif_enable_get(FCS_MSG_REG_REQ_REJ), 0);
  EXPECT_EQ(agent_notif_enable_get(FCS_MSG_DISC_COMPLETE), 1);

  EXPECT_EQ(agent_notif_enable_set(FCS_MSG_DISC_COMPLETE, 0), 0);
  notification_switches_unregister();
  EXPECT_EQ(stored(), "fcsNotifyEnabled 1407 0;fcsNotifyEnabled 1408 0;")
      << "the module is unloaded before the agent's next turn";
  snmp_store("snmpd");
  EXPECT_EQ(stored(), "");
  EXPECT_FALSE(has_a_token());
}

TEST_F(Loading, EventsGoIntoTheHistoryUpToALevel) {
  const auto record = [](uint32_t level) {
    char event[8] = {};
    memcpy(event, &level, sizeof(level));
    memcpy(event + 4, "evt", 4);
    return std::string(event, sizeof(event));
  };
  settings_for_change().history_file = file("history");
  settings_for_change().history_level = 100;
  trace_output_open();
  EXPECT_EQ(trace_hist_filtered(1, 100), 0);
  EXPECT_EQ(trace_hist_filtered(1, 101), 1);
  trace_hist_event(7, 8, record(100).data());
  EventRecord read;
  EXPECT_TRUE(EventHistoryReader(file("history")).next(read));
  EXPECT_EQ(read.text, "evt");
  EXPECT_EQ(read.module, 7U);
  EXPECT_EQ(log(), "");
#ifndef EMULATED
  std::filesystem::resize_file(file("history"), 0);
  trace_hist_event(8, 8, record(100).data());
  EXPECT_EQ(log(), "fcs: event history " + file("history") +
                       ": was truncated or overwritten and is started anew\n");
  EXPECT_TRUE(EventHistoryReader(file("history")).next(read));
  EXPECT_EQ(read.module, 8U);
#endif
  settings_for_change().history_file = file("fcs.conf");
  trace_output_open();
  EXPECT_EQ(log(), "fcs: event history " + file("fcs.conf") +
                       ": exists and is not an event history; events are not recorded\n");
  EXPECT_EQ(trace_hist_filtered(1, 1), 1);

  EXPECT_EQ(trace_debug_on(1, 0, 0, 1), 0);
  snmp_set_do_debugging(1);
  debug_register_tokens("another");
  EXPECT_EQ(trace_debug_on(1, 0, 0, 1), 0) << "without its token";
  debug_register_tokens("fcs_mib");
  log();
  EXPECT_EQ(trace_debug_on(1, 0, 0, 1), 1);
  debug_printf(1, trace_module_name, 0, "%s %d\n", "line", 1);
  EXPECT_EQ(log(), "fcs_mib: line 1\n");
  snmp_set_do_debugging(0);
  debug_disable_token_logs("fcs_mib");
}

} // namespace
