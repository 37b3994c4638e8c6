/**
 * An agent for tests: Net-SNMP's library with the platform in it, without a network or a service.
 * Its time goes on only when a test says so, and its log is the test's.
 */
#pragma once

#include "common/wire/ipc_wire.h"
#include "platform/linux/configuration_tokens.h"
#include "platform/linux/settings/settings.h"
#include "tests/service_peer.h"

#include <chrono>
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

using namespace std::chrono_literals;

using Name = std::vector<oid>;

class Agent : public testing::Test {
protected:
  Agent();
  ~Agent() override;

  /** Lets time go on, and gives the agent a turn. */
  static void pass(std::chrono::nanoseconds duration);
  /** Lets time go on while the agent is busy. */
  static void keep_busy(std::chrono::nanoseconds duration);
  /** What has been logged since this was last called. */
  static std::string log();
  /** Takes a line of snmpd.conf. \return what the agent says to it. */
  static std::string configure(std::string line);

  /** Sends a message of the service on a connection: a header, and the payload. */
  static void say(const Fd &peer, const ipc_wire::FrameHeader &header, const std::string &payload);

  char directory_[32] = "/tmp/fcs-agent-XXXXXX"; ///< Of the test's own.
  std::vector<Fd> peers_; ///< The service's ends of all connections, which it has greeted.
};

/** A message that the agent has in hand, all of whose bindings lie in one table. */
class Message {
public:
  /** \param names Of the instances, behind the module root. */
  explicit Message(int command, const std::vector<Name> &names = {{1, 1, 2, 0}},
                   const std::string &user = "olga");
  ~Message();
  Message(const Message &) = delete;
  Message &operator=(const Message &) = delete;

  /** Gives the last binding a value. */
  Message &with(u_char type, const void *value, size_t length);
  Message &with(u_char type, long value) { return with(type, &value, sizeof(value)); }

  /** Calls the handlers in front of the table. \return the error status of the first binding. */
  int serve(int mode);

  const netsnmp_agent_request_info &info() const { return info_; }

  /** Of a binding: what follows the module root, and whether it has a value. */
  Name name(size_t binding = 0) const;
  bool is_answered(size_t binding = 0) const;

  netsnmp_pdu pdu{};
  std::vector<netsnmp_request_info> requests;

private:
  std::string user_;
  netsnmp_agent_session session_{};
  netsnmp_agent_request_info info_{};
};
