#include "subagent.h"

#include "log.h"

#include <csignal>
#include <cstdlib>
#include <initializer_list>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <net-snmp/agent/agent_callbacks.h>

namespace {

/** How often the master is tried, and pinged when it asks nothing. */
constexpr int kInterval = 1;
/** How long the master may be busy: it waits for each subagent in turn. A time-out drops it. */
constexpr int kPatience = 10;
/** How long the end may take. */
constexpr unsigned kLastSeconds = 1;

volatile std::sig_atomic_t told_to_stop;
volatile std::sig_atomic_t told_of_change;

void on_stop(int /*signal*/) {
  told_to_stop = 1;
  alarm(kLastSeconds); // The library may be waiting for a master that hangs.
}

void on_hang_up(int /*signal*/) {
  told_of_change = 1;
}

/** What has to be kept is on the disk already, and the master sees the connection end. */
void on_too_late(int /*signal*/) {
  _exit(EXIT_SUCCESS);
}

void catch_signals() {
  for (const auto &[number, handler] :
       std::initializer_list<std::pair<int, void (*)(int)>>{{SIGTERM, on_stop},
                                                            {SIGINT, on_stop},
                                                            {SIGHUP, on_hang_up},
                                                            {SIGALRM, on_too_late},
                                                            {SIGPIPE, SIG_IGN}}) {
    struct sigaction action {};
    action.sa_handler = handler; // Without SA_RESTART: a signal ends the wait for requests.
    sigaction(number, &action, nullptr);
  }
}

enum class State { kUnknown, kAway, kTaken, kAttached };

/** The session with the master; null without one. */
netsnmp_session *session;
bool session_has_changed = true;
State state = State::kUnknown;

int on_session(int /*major*/, int minor, void *opened, void * /*client*/) {
  session = minor == SNMPD_CALLBACK_INDEX_START ? static_cast<netsnmp_session *>(opened) : nullptr;
  session_has_changed = true;
  return SNMPERR_SUCCESS;
}

/** Ends the connection, with all that the master has taken; the library then tries another. */
void hang_up() {
  if (const auto *transport = snmp_sess_transport(snmp_sess_pointer(session));
      transport != nullptr) {
    shutdown(transport->sock, SHUT_RDWR);
  }
}

void tell(const Subagent &subagent) {
  const char *name = subagent.name.c_str();
  const char *master = subagent.master.c_str();
  switch (state) {
  case State::kUnknown: break;
  case State::kAway:
    snmp_log(LOG_ERR, "%s: no AgentX master at %s; trying again every second\n", name, master);
    break;
  case State::kTaken:
    snmp_log(LOG_ERR,
             "%s: the master at %s has %s from another subagent or a module of its own; waiting "
             "for that to end\n",
             name, master, subagent.objects.c_str());
    break;
  case State::kAttached:
    snmp_log(LOG_INFO, "%s: answering for %s at the master %s\n", name, subagent.objects.c_str(),
             master);
    break;
  }
}

State next_state(int refusals) {
  if (session == nullptr) {
    return state == State::kTaken ? state : State::kAway;
  }
  return refusals > 0 ? State::kTaken : State::kAttached;
}

/** Between two turns of the agent's loop: by then the library has offered a session all objects. */
void look_after_session(const Subagent &subagent) {
  if (!std::exchange(session_has_changed, false)) {
    return;
  }
  const State before = std::exchange(state, next_state(subagent_log_take_refusals()));
  if (before == State::kAttached) {
    subagent.detached();
  }
  if (state == State::kAttached) {
    subagent.attached();
  } else if (session != nullptr) {
    hang_up();
  }
  if (state != before || state == State::kAttached) {
    tell(subagent);
  }
}

void set_up_library(const Subagent &subagent) {
  // Neither files of the machine's own agent and managers nor MIB files are read.
  setenv("MIBS", "", 1);
  setenv("SNMPCONFPATH", subagent.directory.c_str(), 1);
  setenv("SNMP_PERSISTENT_DIR", subagent.directory.c_str(), 1);
  unsetenv("SNMP_PERSISTENT_FILE");
  netsnmp_enable_subagent();
  init_agent(subagent.name.c_str());
  netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET,
                        subagent.master.c_str());
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_NO_CONNECTION_WARNINGS, 1);
  netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL, kInterval);
  netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_TIMEOUT, kPatience);
  netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_RETRIES, 0);
  for (const int event : {SNMPD_CALLBACK_INDEX_START, SNMPD_CALLBACK_INDEX_STOP}) {
    snmp_register_callback(SNMP_CALLBACK_APPLICATION, event, on_session, nullptr);
  }
}

} // namespace

bool subagent_has_master() {
  return session != nullptr;
}

void serve_as_subagent(const Subagent &subagent) {
  catch_signals();
  subagent_log_open();
  set_up_library(subagent);
  subagent.register_objects();
  init_snmp(subagent.name.c_str());
  while (told_to_stop == 0) {
    look_after_session(subagent);
    if (told_of_change != 0) {
      told_of_change = 0;
      subagent.hung_up();
    }
    agent_check_and_process(1);
  }
  if (state == State::kAttached) {
    subagent.detached();
  }
}
