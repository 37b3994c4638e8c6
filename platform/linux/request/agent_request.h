/** The request being served: whom it is from, what it asks for, and how long it may take. */
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

using UsersOfContexts = std::map<std::string, std::string>;

/**
 * Has the requests of each context be those of a user; one that is not listed has none. For a
 * subagent of AgentX, whose master sends no security name along, and one request of a manager in as
 * many pieces as it likes: what belongs together has the same transaction.
 * \param users Absent: requests come as they were sent, with their users.
 */
void agent_requests_are_relayed(std::optional<UsersOfContexts> users);

/** Another master begins its transactions anew. */
void agent_request_forget_last();

/** Marks a request as the one being served, for as long as this lives. */
class ServedRequest {
public:
  /** \param context Where the object is registered that is asked for; null for the default one. */
  ServedRequest(const netsnmp_agent_request_info &info, const netsnmp_request_info *requests,
                const char *context = nullptr);
  ~ServedRequest();
  ServedRequest(const ServedRequest &) = delete;
  ServedRequest &operator=(const ServedRequest &) = delete;
};

/** Marks a binding of a SET as the one being served, for as long as this lives. */
class ServedBinding {
public:
  explicit ServedBinding(const netsnmp_variable_list &binding);
  ~ServedBinding();
  ServedBinding(const ServedBinding &) = delete;
  ServedBinding &operator=(const ServedBinding &) = delete;
};

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
 * To be called for each exchange with the service: where the service had better run as well, as
 * waking up another processor takes several times what an exchange does. For a read that is where
 * the agent is, as long as the machine has processors that sleep. In a SET that makes many
 * exchanges, as for a discovery of thousands of VSANs, the agent stays there until the SET is done.
 * \return one more than the number of that processor, or 0 where the scheduler knows better.
 */
uint32_t agent_request_processor();

/** The debug token that says whom a request is from, and why what it asks for is refused. */
constexpr char kRequestToken[] = "fcs_request";
