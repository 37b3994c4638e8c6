/** The order of a walk. */
#pragma once

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

/**
 * Has the next handler answer GETNEXT requests, and lets no answer pass that does not lie behind
 * what was asked for.
 *
 * The module takes the low octet of a sub-identifier in a name, so that a request with a larger one
 * can be answered by a row in front of it. Such a request is asked once more, from the last row
 * that can lie in front of it. Whatever is out of order then comes from a service whose rows do not
 * go forward, and counts as the end of the table.
 */
int serve_in_order(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
                   netsnmp_agent_request_info *request_info, netsnmp_request_info *requests);

/**
 * Has the next handler answer GET requests. A master of AgentX begins a search at an object with
 * the instance of that very name, and the agent library asks for it by a GET: the module, which
 * answers for a bare counter column with one of its rows, is not taken at its word there.
 */
int serve_named(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
                netsnmp_agent_request_info *request_info, netsnmp_request_info *requests);
