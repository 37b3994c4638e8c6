#include "answer_order.h"

#include "platform/linux/request/agent_request.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace {

using Name = std::vector<oid>;

bool is_behind(const netsnmp_variable_list &binding, const Name &other) {
  return snmp_oid_compare(binding.name, binding.name_length, other.data(), other.size()) > 0;
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

/**
 * The last instance that can lie in front of `asked`, when one of its name octets exceeds an octet:
 * that octet and those behind it at their largest, as far as an instance of the table goes.
 * \return false when no sub-identifier behind the column and the first index exceeds an octet.
 */
bool last_in_front_of(const Name &asked, size_t column_length, size_t instance_length,
                      Name &instance) {
  constexpr oid kLargestOctet = 255;
  const size_t end = std::min(asked.size(), instance_length);
  for (size_t i = column_length + 1; i < end; ++i) {
    if (asked[i] > kLargestOctet) {
      instance.assign(asked.begin(), asked.begin() + static_cast<std::ptrdiff_t>(i));
      instance.resize(instance_length, kLargestOctet);
      return true;
    }
  }
  return false;
}

/** Whether the request has an answer, and one in front of what was asked for. */
bool is_out_of_order(const netsnmp_request_info &request, const Name &asked) {
  return is_answered(request) && !is_behind(*request.requestvb, asked);
}

void tell_disorder(const netsnmp_request_info &request, const Name &asked) {
  DEBUGMSGTL((kRequestToken, "the service is out of order: behind "));
  DEBUGMSGOID((kRequestToken, asked.data(), asked.size()));
  DEBUGMSG((kRequestToken, " comes "));
  DEBUGMSGOID((kRequestToken, request.requestvb->name, request.requestvb->name_length));
  DEBUGMSG((kRequestToken, "; the table ends here\n"));
}

int serve_one_named(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
                    netsnmp_agent_request_info *request_info, netsnmp_request_info &request) {
  if (request.inclusive == 0) {
    return netsnmp_call_next_handler(handler, registration, request_info, &request);
  }
  const netsnmp_variable_list &binding = *request.requestvb;
  const Name asked(binding.name, binding.name + binding.name_length);
  const int result = netsnmp_call_next_handler(handler, registration, request_info, &request);
  if (is_answered(request) && is_behind(binding, asked)) {
    ask_for_next_of(asked, request);
  }
  return result;
}

int serve_one_in_order(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
                       netsnmp_agent_request_info *request_info, netsnmp_request_info &request) {
  static Name asked; // Keeps its room from one answer to the next.
  asked.assign(request.requestvb->name, request.requestvb->name + request.requestvb->name_length);
  int result = netsnmp_call_next_handler(handler, registration, request_info, &request);
  if (!is_out_of_order(request, asked)) {
    return result;
  }
  Name from;
  if (last_in_front_of(asked, registration->rootoid_len, request.requestvb->name_length, from)) {
    ask_for_next_of(from, request);
    result = netsnmp_call_next_handler(handler, registration, request_info, &request);
  }
  if (is_out_of_order(request, asked)) {
    tell_disorder(request, asked);
    ask_for_next_of(asked, request); // It stays unanswered.
  } else if (!is_answered(request)) {
    ask_for_next_of(asked, request);
  }
  return result;
}

using ServeOne = int(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
                     netsnmp_agent_request_info *request_info, netsnmp_request_info &request);

int serve_each(ServeOne *serve_one, netsnmp_mib_handler *handler,
               netsnmp_handler_registration *registration, netsnmp_agent_request_info *request_info,
               netsnmp_request_info *requests) {
  int status = SNMP_ERR_NOERROR;
  for (netsnmp_request_info *request = requests; request != nullptr;) {
    netsnmp_request_info *const following = std::exchange(request->next, nullptr);
    const int result = serve_one(handler, registration, request_info, *request);
    status = status == SNMP_ERR_NOERROR ? result : status;
    request->next = following;
    request = following;
  }
  return status;
}

} // namespace

int serve_in_order(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
                   netsnmp_agent_request_info *request_info, netsnmp_request_info *requests) {
  return serve_each(serve_one_in_order, handler, registration, request_info, requests);
}

int serve_named(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
                netsnmp_agent_request_info *request_info, netsnmp_request_info *requests) {
  return serve_each(serve_one_named, handler, registration, request_info, requests);
}
