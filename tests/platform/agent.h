/**
 * An agent for tests: Net-SNMP's library with the platform in it, without a network or a service.
 * Its time goes on only when a test says so.
 */
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

using namespace std::chrono_literals;

using Name = std::vector<oid>;

constexpr auto kStart = 1'700'000'000s; ///< Of the agent's time, behind the Epoch.

class Agent {
public:
  /** \param directory For what it keeps, and for fcs.conf, which it reads behind a file that is not
   *  there. */
  explicit Agent(const std::string &directory);

  /** Lets time go on, and gives the agent a turn. */
  static void pass(std::chrono::nanoseconds duration);
  /** Lets time go on while the agent is busy. */
  static void keep_busy(std::chrono::nanoseconds duration);
  /** Takes a line of snmpd.conf. */
  static void configure(std::string line);
  /** Whether the agent knows a token of snmpd.conf that begins so. */
  static bool has_token(const std::string &start);
  /** What has come of things since this was last called. */
  static std::vector<std::string> take_events();

  /** What comes of things, in order: the agent's log, and whatever a test adds. */
  static inline std::vector<std::string> events;
  static void tell(const std::string &event) {
    if (!event.empty()) {
      events.push_back(event);
    }
  }
};

/** A message that the agent has in hand, all of whose bindings lie in one table. */
class Message {
public:
  /** \param names Of the instances, behind the module root.
   *  \param type  Of the last binding's value, as snmp_add_var has it; 'n': none. */
  Message(int command, const std::vector<Name> &names, const std::string &user, char type = 'n',
          const std::string &value = "");
  ~Message();
  Message(const Message &) = delete;
  Message &operator=(const Message &) = delete;

  /** Calls the handlers in front of the table. */
  void serve(int mode);

  /** Of a binding: what follows the module root. */
  static Name name_of(const netsnmp_request_info &request);

  netsnmp_pdu pdu{};
  netsnmp_agent_request_info info{};
  std::vector<netsnmp_request_info> requests;

private:
  std::string user_;
  netsnmp_agent_session session_{};
};
