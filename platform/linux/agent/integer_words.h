/** The integers of a SET as the module wants them. */
#pragma once

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

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
