#include "agent_request.h"

#include "common/wire/processor_pin.h"
#include "platform/agent_host.h"
#include "platform/linux/settings/settings.h"
#include "sleeping_processors.h"
#include "writable_object.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <utility>

#include <net-snmp/library/snmpTCPDomain.h>
#include <net-snmp/library/snmpTCPIPv6Domain.h>
#include <net-snmp/library/snmpUDPDomain.h>
#include <net-snmp/library/snmpUDPIPv6Domain.h>
#include <net-snmp/library/snmpUnixDomain.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kExchangeTimeoutsOfARequest = 10;
constexpr auto kBetweenReports = std::chrono::minutes(1);

/** The message being served, and as it came; null outside of one. */
const netsnmp_pdu *current;
const netsnmp_pdu *current_as_it_came;
/** The last request, by its transaction and its id: the agent's own have no transaction. */
using RequestId = std::pair<long, long>;
std::optional<RequestId> last_request;
/** Of a subagent. */
std::optional<UsersOfContexts> user_of_context;
/** How many there have been, and when the first object of the last one was served. */
long request_number;
Clock::time_point request_began;
/** Whether the message being served is a read. */
bool current_is_read;
/** Pieces of a relayed request that have been served before. A GETBULK comes as a row of GETNEXTs,
 * and nothing says how many. */
unsigned pieces_before;
constexpr unsigned kMostDoublings = 6;
/** How many rows the bindings being served may still ask of their table. */
uint32_t current_rows;
/** The binding of a SET that is being served; null outside of one. */
const netsnmp_variable_list *current_binding;
/** Exchanges of the binding of a SET that is being served, and where they are made. */
constexpr int kManyExchanges = 16;
int exchanges_of_binding;
ProcessorPin own_processor;
/** The user of the last request, once somebody has asked. */
std::string current_user;
bool current_user_known;

/** Maps the community of a message and its source to a security name; null when nothing does. */
const char *security_name_of_community(const netsnmp_pdu &pdu) {
  const char *name = nullptr;
  const char *context = nullptr;
  void *const source = pdu.transport_data;
  const int source_length = pdu.transport_data_length;
  const auto *community = reinterpret_cast<const char *>(pdu.community);
  // A transport names its domain by the address of the OID, as the agent's own access control does.
  if (pdu.tDomain == netsnmpUDPDomain || pdu.tDomain == netsnmp_snmpTCPDomain) {
    netsnmp_udp_getSecName(source, source_length, community, pdu.community_len, &name, &context);
  } else if (pdu.tDomain == netsnmp_UDPIPv6Domain || pdu.tDomain == netsnmp_TCPIPv6Domain) {
    netsnmp_udp6_getSecName(source, source_length, community, static_cast<int>(pdu.community_len),
                            &name, &context);
  } else if (pdu.tDomain == netsnmp_UnixDomain) {
    netsnmp_unix_getSecName(source, source_length, community, pdu.community_len, &name, &context);
  }
  return name;
}

/** A community is a secret: v1 and v2c users go by the name that com2sec gives it. */
std::string security_name(const netsnmp_pdu &pdu) {
  if (pdu.version == SNMP_VERSION_3) {
    return {pdu.securityName, pdu.securityNameLen};
  }
  const char *name = security_name_of_community(pdu);
  if (name == nullptr) {
    DEBUGMSGTL((kRequestToken, "no security name for the community of this request\n"));
    return {};
  }
  return name;
}

/** The user of a subagent's requests in a context. */
std::string relayed_user(const char *context) {
  const auto user = user_of_context->find(context == nullptr ? "" : context);
  return user == user_of_context->end() ? std::string() : user->second;
}

/** A master gives each piece of a request an id of its own. */
RequestId id_of(const netsnmp_pdu &pdu) {
  return {pdu.transid, user_of_context && pdu.transid != 0 ? 0 : pdu.reqid};
}

/** Logs that the request being served has spent its share of time. */
void report_overdue(std::chrono::milliseconds share) {
  static Clock::time_point next_report;
  if (Clock::now() < next_report) {
    return;
  }
  next_report = Clock::now() + kBetweenReports;
  const netsnmp_variable_list &asked =
      current_binding != nullptr ? *current_binding : *current_as_it_came->variables;
  snmp_log(LOG_WARNING,
           "fcs: %s of %s by user '%s' has spent its %lld ms with the FCS service: the rest of it"
           " fails\n",
           snmp_pdu_type(current_as_it_came->command),
           writable_instance_text(asked.name, asked.name_length).c_str(), agent_session_user(0),
           static_cast<long long>(share.count()));
}

/** Each binding asks for a row, and one that a GETBULK repeats for as many more. */
uint32_t rows_asked_for(const netsnmp_request_info *requests) {
  uint32_t bindings = 0;
  int repetitions = 0;
  for (; requests != nullptr; requests = requests->next) {
    ++bindings;
    repetitions = std::max(repetitions, requests->repeat);
  }
  return repetitions > 0 ? 1 + static_cast<uint32_t>(repetitions) : bindings;
}

} // namespace

void agent_requests_are_relayed(std::optional<UsersOfContexts> users) {
  user_of_context = std::move(users);
}

void agent_request_forget_last() {
  last_request.reset();
}

ServedRequest::ServedRequest(const netsnmp_agent_request_info &info,
                             const netsnmp_request_info *requests, const char *context) {
  current_rows = rows_asked_for(requests);
  current = info.asp->pdu;
  current_as_it_came = info.asp->orig_pdu;
  exchanges_of_binding = 0;
  current_is_read = !MODE_IS_SET(info.mode);
  if (const RequestId request = id_of(*current); request != last_request) {
    last_request = request;
    pieces_before = 0;
    ++request_number;
    request_began = Clock::now();
    current_user_known = false;
  } else {
    ++pieces_before;
  }
  if (user_of_context) {
    current_user = relayed_user(context);
    current_user_known = true;
  }
}

ServedRequest::~ServedRequest() {
  current = nullptr;
  own_processor.release();
}

ServedBinding::ServedBinding(const netsnmp_variable_list &binding) {
  current_binding = &binding;
}

ServedBinding::~ServedBinding() {
  current_binding = nullptr;
}

const netsnmp_variable_list *agent_request_binding() {
  return current_binding;
}

RowUse agent_request_row_use() {
  constexpr RowUse kEachByItself = {-1, 1};
  if (current == nullptr || !current_is_read) {
    return kEachByItself;
  }
  if (user_of_context) {
    return {request_number, current_rows << std::min(pieces_before, kMostDoublings)};
  }
  const bool asks_once = current->command != SNMP_MSG_GETBULK && current->variables != nullptr &&
                         current->variables->next_variable == nullptr;
  return asks_once ? kEachByItself : RowUse{request_number, current_rows};
}

long agent_request_number() {
  return request_number;
}

uint32_t agent_request_processor() {
  if (current == nullptr) {
    return 0;
  }
  if (current_is_read) {
    return processors_sleep() ? static_cast<uint32_t>(sched_getcpu() + 1) : 0;
  }
  if (++exchanges_of_binding == kManyExchanges) {
    own_processor.hold(sched_getcpu());
  }
  return static_cast<uint32_t>(own_processor.number() + 1);
}

bool agent_request_is_overdue() {
  const auto share = kExchangeTimeoutsOfARequest * settings().exchange_timeout;
  if (current == nullptr || Clock::now() - request_began <= share) {
    return false;
  }
  report_overdue(share);
  return true;
}

const char *agent_session_user(int /*request*/) {
  if (current == nullptr) {
    return "";
  }
  if (!current_user_known) {
    current_user = security_name(*current);
    current_user_known = true;
  }
  return current_user.c_str();
}

uint32_t agent_session_id(int /*request*/) {
  return current == nullptr ? 0 : static_cast<uint32_t>(current->transid);
}
