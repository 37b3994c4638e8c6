/** What a SET may not write, whatever the module would say to it. */
#pragma once

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

/**
 * Whether the binding of a SET is to be kept from the module. That is decided in the first phase,
 * before anything has changed, and holds in every other: the user's role may not write the
 * instance, or the user has left too many rows of failed SETs behind. The request then has its
 * error status, and the log a line.
 */
bool write_is_refused(const netsnmp_agent_request_info &info, netsnmp_request_info *request);
