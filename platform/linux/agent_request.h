/**
 * The agent host's place in front of the module's registrations: whom a request is from, and its
 * integers as 32-bit words.
 */
#pragma once

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

/** Puts the agent host in front of every registration of the module, once each. */
void agent_request_intercept();

/**
 * Takes every registration of the module down. The agent registers each variable by itself, so that
 * unregister_mib with the module root leaves them in place.
 */
void agent_request_release();

/**
 * Net-SNMP's INTEGER is a long, the module's a 32-bit word. While one of these lives, the integer
 * values of a SET are words of length 4 at the same address; afterwards they are what they were.
 */
class IntegerWords {
public:
  explicit IntegerWords(netsnmp_request_info *requests);
  ~IntegerWords();
  IntegerWords(const IntegerWords &) = delete;
  IntegerWords &operator=(const IntegerWords &) = delete;

private:
  netsnmp_request_info *requests_;
};
