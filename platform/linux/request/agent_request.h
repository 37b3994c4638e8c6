/**
 * The agent host's place in front of the module's registrations, where a request shows whom it is
 * from.
 */
#pragma once

#include <cstdint>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

/**
 * Puts the agent host in front of every registration of the module, once each.
 * \param before Called before each request is served.
 */
void agent_request_intercept(void (*before)());

/**
 * Takes every registration of the module down. The agent registers each variable by itself, so that
 * unregister_mib with the module root leaves them in place.
 */
void agent_request_release();

/** The binding of the SET that is being served; null outside of one. */
const netsnmp_variable_list *agent_request_binding();

/** Tells the requests apart, also those that the agent makes itself: they are one transaction. */
long agent_request_number();

/** The use that a read has for rows beyond the one it asks the service for. */
struct RowUse {
  long request;  ///< Number of the read; -1 where each row is asked for by itself.
  uint32_t rows; ///< How many rows of a table it may still ask for.
};

/** That of the request being served: a GETBULK or a read of several bindings may ask for more. */
RowUse agent_request_row_use();

/**
 * Whether the request being served has had its share of time: ten exchange timeouts since its first
 * object. No service, however slow or faulty, may keep the agent from its other requests for much
 * longer. Once a minute at most, the request that has spent it is logged.
 */
bool agent_request_is_overdue();

/**
 * To be called for each exchange with the service. In a SET that makes many, as for a discovery of
 * thousands of VSANs, the agent stays on its processor until the SET is done, so that the service
 * can take turns with it there: waking up another processor costs several times what an exchange
 * does.
 * \return one more than the number of that processor, or 0 while it may change.
 */
uint32_t agent_request_processor();

/** The debug token that says whom a request is from, and why what it asks for is refused. */
constexpr char kRequestToken[] = "fcs_request";
