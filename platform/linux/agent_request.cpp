#include "agent_request.h"

#include "integer_words.h"
#include "platform/agent_host.h"

#include <cstring>
#include <string>

#include <net-snmp/library/snmpTCPDomain.h>
#include <net-snmp/library/snmpTCPIPv6Domain.h>
#include <net-snmp/library/snmpUDPDomain.h>
#include <net-snmp/library/snmpUDPIPv6Domain.h>
#include <net-snmp/library/snmpUnixDomain.h>

namespace {

constexpr char kModuleName[] = "fcs_mib";
char handler_name[] = "fcs_agent_host";

/** The request being served; null outside of one. */
const netsnmp_agent_session *current;
/** Its user, once somebody has asked. */
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
  return name == nullptr ? std::string() : std::string(name);
}

/** Marks a request as the one being served. */
class CurrentRequest {
public:
  explicit CurrentRequest(const netsnmp_agent_session *session) {
    current = session;
    current_user_known = false;
  }
  ~CurrentRequest() { current = nullptr; }
  CurrentRequest(const CurrentRequest &) = delete;
  CurrentRequest &operator=(const CurrentRequest &) = delete;
};

int serve(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
          netsnmp_agent_request_info *request_info, netsnmp_request_info *requests) {
  const CurrentRequest scope(request_info->asp);
  if (MODE_IS_SET(request_info->mode)) {
    const IntegerWords words(requests);
    return netsnmp_call_next_handler(handler, registration, request_info, requests);
  }
  return netsnmp_call_next_handler(handler, registration, request_info, requests);
}

bool is_ours(const netsnmp_subtree &tree) {
  return tree.reginfo != nullptr && tree.reginfo->handlerName != nullptr &&
         strcmp(tree.reginfo->handlerName, kModuleName) == 0;
}

/** Calls `visit` for the registrations of the module, until it returns false. */
template <typename Visit> void for_each_registration(Visit visit) {
  for (netsnmp_subtree *tree = netsnmp_subtree_find_first(""); tree != nullptr; tree = tree->next) {
    for (netsnmp_subtree *child = tree; child != nullptr; child = child->children) {
      if (is_ours(*child) && !visit(child->reginfo)) {
        return;
      }
    }
  }
}

bool intercept(netsnmp_handler_registration *registration) {
  if (strcmp(registration->handler->handler_name, handler_name) != 0) {
    netsnmp_mib_handler *handler = netsnmp_create_handler(handler_name, serve);
    if (handler == nullptr || netsnmp_inject_handler(registration, handler) != SNMPERR_SUCCESS) {
      snmp_log(LOG_ERR, "fcs: an object could not be put under the agent host's control\n");
      netsnmp_handler_free(handler);
    }
  }
  return true;
}

} // namespace

void agent_request_intercept() {
  for_each_registration(intercept);
}

void agent_request_release() {
  // Each removal changes the tree under the search, which therefore starts anew.
  for (bool removed = true; removed;) {
    removed = false;
    for_each_registration([&removed](netsnmp_handler_registration *registration) {
      removed = netsnmp_unregister_handler(registration) == MIB_UNREGISTERED_OK;
      return false;
    });
  }
}

const char *agent_session_user(int /*request*/) {
  if (current == nullptr || current->pdu == nullptr) {
    return "";
  }
  if (!current_user_known) {
    current_user = security_name(*current->pdu);
    current_user_known = true;
  }
  return current_user.c_str();
}

uint32_t agent_session_id(int /*request*/) {
  return current == nullptr ? 0 : static_cast<uint32_t>(current->index);
}
