#include "write_guard.h"

#include "platform/agent_host.h"
#include "platform/linux/containers/row_index_host.h"
#include "platform/linux/request/agent_request.h"
#include "platform/linux/request/writable_object.h"
#include "platform/role.h"

namespace {

/** Under which a request keeps that it is refused. */
constexpr char kRefused[] = "fcs_refused";
/** More than the largest SET begins. */
constexpr size_t kMostUnsentRows = 2048;

/**
 * Whether the user's role allows to write an instance, as far as the module itself does not ask: it
 * does so where rows are created and destroyed, but changes a column of a row in any VSAN that the
 * user may read. A user with a role writes nothing that is not known as a writable object.
 */
int role_status(const WritableInstance &instance, const netsnmp_variable_list &binding) {
  const bool is_known = instance.object != nullptr;
  if (is_known && (instance.object->scope != VsanScope::kGuarded || instance.index.empty())) {
    return SNMP_ERR_NOERROR;
  }
  VsanBitmap allowed{.byte_count = VSAN_WHOLE_BYTES, .bytes = {}};
  if (role_allowed_vsans(&allowed, binding.name, binding.name_length, ROLE_ACCESS_WRITE) == 0) {
    return SNMP_ERR_NOERROR;
  }
  if (!is_known) {
    return SNMP_ERR_NOTWRITABLE;
  }
  return role_vsan_allowed(static_cast<uint32_t>(instance.index[0]), allowed) != 0
             ? SNMP_ERR_NOERROR
             : SNMP_ERR_GENERR;
}

/** Whether a binding would begin a row more than its user may leave behind. */
bool begins_row_too_many(const WritableInstance &instance, const netsnmp_variable_list &binding) {
  const bool destroys = binding.type == ASN_INTEGER && *binding.val.integer == RS_DESTROY;
  return !destroys && instance.object != nullptr && instance.object->begins_rows &&
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
  const WritableInstance instance = writable_instance({binding.name, binding.name_length});
  const int status = role_status(instance, binding);
  if (status == SNMP_ERR_GENERR) {
    agent_log_role_error(AGENT_VSAN_NOT_ALLOWED);
  }
  if (status == SNMP_ERR_NOERROR && begins_row_too_many(instance, binding)) {
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
