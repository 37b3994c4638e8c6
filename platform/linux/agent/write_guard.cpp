#include "write_guard.h"

#include "platform/agent_host.h"
#include "platform/linux/containers/row_index_host.h"
#include "platform/linux/request/agent_request.h"
#include "platform/linux/request/writable_object.h"

namespace {

/** Under which a request keeps that it is refused. */
constexpr char kRefused[] = "fcs_refused";
/** More than the largest SET begins. */
constexpr size_t kMostUnsentRows = 2048;

/** Whether a binding would begin a row more than its user may leave behind. */
bool begins_row_too_many(const netsnmp_variable_list &binding) {
  const bool destroys = binding.type == ASN_INTEGER && *binding.val.integer == RS_DESTROY;
  return !destroys && writable_instance_begins_row(binding.name, binding.name_length) &&
         row_index_rows_of(agent_session_user(0)) >= kMostUnsentRows;
}

/** Once for a SET, which may have thousands of such bindings. */
void log_rows_left() {
  static long logged;
  if (logged != agent_request_number()) {
    logged = agent_request_number();
    snmp_log(LOG_WARNING,
             "fcs: SET by user '%s' refused: %zu rows of failed SETs are left; destroying them"
             " makes room\n",
             agent_session_user(0), kMostUnsentRows);
  }
}

int status_of(const netsnmp_variable_list &binding) {
  const int status = writable_instance_status(binding.name, binding.name_length);
  if (status == SNMP_ERR_GENERR) {
    agent_log_role_error(AGENT_VSAN_NOT_ALLOWED);
  }
  if (status == SNMP_ERR_NOERROR && begins_row_too_many(binding)) {
    log_rows_left();
    return SNMP_ERR_RESOURCEUNAVAILABLE;
  }
  return status;
}

} // namespace

bool write_is_refused(const netsnmp_agent_request_info &info, netsnmp_request_info *request) {
  if (info.mode == MODE_SET_RESERVE1) {
    if (const int status = status_of(*request->requestvb); status != SNMP_ERR_NOERROR) {
      netsnmp_request_set_error(request, status);
      netsnmp_request_add_list_data(request, netsnmp_create_data_list(kRefused, request, nullptr));
    }
  }
  return netsnmp_request_get_list_data(request, kRefused) != nullptr;
}
