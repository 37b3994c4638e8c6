#include "interception.h"

#include "answer_order.h"
#include "integer_words.h"
#include "null_console.h"
#include "platform/linux/request/agent_request.h"
#include "write_guard.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr char kModuleName[] = "fcs_mib";
constexpr char kHandlerName[] = "fcs_agent_host";
/** The handler through which the agent calls the functions of a variable table. Right in front of
 * it a GETBULK is a row of GETNEXTs. */
constexpr char kModuleHandlerName[] = "old_api";

void (*before_request)();

/** Serves the bindings of a SET one by one, so that it is known which of them is being served. */
int serve_set(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
              netsnmp_agent_request_info *request_info, netsnmp_request_info *requests) {
  int status = SNMP_ERR_NOERROR;
  for (netsnmp_request_info *request = requests; request != nullptr;) {
    netsnmp_request_info *const following = request->next;
    request->next = nullptr;
    const ServedBinding binding(*request->requestvb);
    if (!write_is_refused(*request_info, request)) {
      const IntegerWords words(request);
      const int result = netsnmp_call_next_handler(handler, registration, request_info, request);
      status = status == SNMP_ERR_NOERROR ? result : status;
    }
    request->next = following;
    request = following;
  }
  return status;
}

int serve(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
          netsnmp_agent_request_info *request_info, netsnmp_request_info *requests) {
  before_request();
  const ServedRequest scope(*request_info, requests, registration->contextName);
  const NullConsole console(agent_request_number());
  if (MODE_IS_SET(request_info->mode)) {
    return serve_set(handler, registration, request_info, requests);
  }
  if (request_info->mode == MODE_GETNEXT) {
    return serve_in_order(handler, registration, request_info, requests);
  }
  return serve_named(handler, registration, request_info, requests);
}

bool is_ours(const netsnmp_subtree &tree) {
  return tree.reginfo != nullptr && tree.reginfo->handlerName != nullptr &&
         strcmp(tree.reginfo->handlerName, kModuleName) == 0;
}

/** Calls `visit` for each registration of the module, in whatever context. */
template <typename Visit> void for_each_registration(Visit visit) {
  for (auto *context = get_top_context_cache(); context != nullptr; context = context->next) {
    for (auto *tree = context->first_subtree; tree != nullptr; tree = tree->next) {
      for (netsnmp_subtree *child = tree; child != nullptr; child = child->children) {
        if (is_ours(*child)) {
          visit(*child->reginfo);
        }
      }
    }
  }
}

void intercept(netsnmp_handler_registration &registration) {
  netsnmp_mib_handler *handler = netsnmp_create_handler(kHandlerName, serve);
  if (handler == nullptr || netsnmp_inject_handler_before(&registration, handler,
                                                          kModuleHandlerName) != SNMPERR_SUCCESS) {
    snmp_log(LOG_ERR, "fcs: an object could not be put under the agent host's control\n");
    netsnmp_handler_free(handler);
  }
}

/** Where a registration stands in the agent's tree. */
struct Place {
  std::string context;
  std::vector<oid> root;
  int priority;
  int range_subid;
  oid range_ubound;
};

} // namespace

void intercept_requests(void (*before)()) {
  before_request = before;
  for_each_registration(intercept);
}

void release_registrations() {
  // By copies: the agent goes on reading its arguments when it has freed the registration.
  std::vector<Place> places;
  for_each_registration([&places](const netsnmp_handler_registration &registration) {
    places.push_back({registration.contextName == nullptr ? "" : registration.contextName,
                      {registration.rootoid, registration.rootoid + registration.rootoid_len},
                      registration.priority,
                      registration.range_subid,
                      registration.range_ubound});
  });
  for (Place &place : places) {
    unregister_mib_context(place.root.data(), place.root.size(), place.priority, place.range_subid,
                           place.range_ubound, place.context.c_str());
  }
}
