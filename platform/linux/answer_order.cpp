#include "answer_order.h"

#include <vector>

namespace {

using Name = std::vector<oid>;

Name name_of(const netsnmp_request_info &request) {
  const netsnmp_variable_list &binding = *request.requestvb;
  return {binding.name, binding.name + binding.name_length};
}

bool is_behind(const Name &name, const Name &other) {
  return snmp_oid_compare(name.data(), name.size(), other.data(), other.size()) > 0;
}

bool is_answered(const netsnmp_request_info &request) {
  const u_char type = request.requestvb->type;
  return type != ASN_NULL && type != ASN_PRIV_RETRY;
}

/** Makes the request one for the instance behind `name`. */
void ask_for_next_of(const Name &name, netsnmp_request_info &request) {
  snmp_set_var_typed_value(request.requestvb, ASN_NULL, nullptr, 0);
  snmp_set_var_objid(request.requestvb, name.data(), name.size());
}

} // namespace

int serve_in_order(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
                   netsnmp_agent_request_info *request_info, netsnmp_request_info *requests) {
  std::vector<Name> asked;
  for (const netsnmp_request_info *request = requests; request != nullptr;
       request = request->next) {
    asked.push_back(name_of(*request));
  }
  int result = netsnmp_call_next_handler(handler, registration, request_info, requests);
  auto asked_for = asked.begin();
  for (netsnmp_request_info *request = requests; request != nullptr;
       request = request->next, ++asked_for) {
    Name last;
    while (is_answered(*request) && !is_behind(name_of(*request), *asked_for)) {
      const Name answer = name_of(*request);
      if (!last.empty() && !is_behind(answer, last)) {
        ask_for_next_of(*asked_for, *request); // It stays unanswered.
        break;
      }
      last = answer;
      ask_for_next_of(answer, *request);
      netsnmp_request_info *const others = request->next;
      request->next = nullptr;
      result = netsnmp_call_next_handler(handler, registration, request_info, request);
      request->next = others;
    }
    if (!is_answered(*request) && !last.empty()) {
      ask_for_next_of(*asked_for, *request);
    }
  }
  return result;
}
