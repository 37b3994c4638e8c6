#include "contexts.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

namespace {

std::vector<std::string> module_contexts;

int answer_uptime(netsnmp_mib_handler * /*handler*/,
                  netsnmp_handler_registration * /*registration*/,
                  netsnmp_agent_request_info * /*request_info*/, netsnmp_request_info *requests) {
  const u_long uptime = netsnmp_get_agent_uptime();
  return snmp_set_var_typed_value(requests->requestvb, ASN_TIMETICKS, &uptime, sizeof(uptime)) == 0
             ? SNMP_ERR_NOERROR
             : SNMP_ERR_GENERR;
}

} // namespace

/** The module's call finds this in place of the agent library's, which knows one context only. */
extern "C" int register_mib(const char *name, const variable *variables, size_t size, size_t count,
                            const oid *root, size_t root_length) {
  constexpr int kTimeoutOfAgent = -1;
  int result = MIB_REGISTERED_OK;
  for (const std::string &context : module_contexts) {
    if (const int one = register_mib_context(name, variables, size, count, root, root_length,
                                             DEFAULT_MIB_PRIORITY, 0, 0, nullptr, context.c_str(),
                                             kTimeoutOfAgent, 0);
        one != MIB_REGISTERED_OK) {
      result = one;
    }
  }
  return result;
}

void register_module_in(const std::vector<std::string> &contexts) {
  module_contexts = contexts;
}

void register_uptime() {
  constexpr oid kSysUpTime[] = {1, 3, 6, 1, 2, 1, 1, 3};
  for (const std::string &context : module_contexts) {
    if (context.empty()) {
      continue; // The master has its own.
    }
    netsnmp_handler_registration *registration = netsnmp_create_handler_registration(
        "fcs_uptime", answer_uptime, kSysUpTime, OID_LENGTH(kSysUpTime), HANDLER_CAN_RONLY);
    registration->contextName = strdup(context.c_str());
    netsnmp_register_scalar(registration);
  }
}
