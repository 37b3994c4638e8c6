/** The agent host's log of writes that failed or were refused: one line each. */
#include "platform/agent_host.h"
#include "platform/linux/request/agent_request.h"
#include "platform/linux/request/writable_object.h"

namespace {

std::string written_instance() {
  const netsnmp_variable_list *binding = agent_request_binding();
  return binding == nullptr ? std::string()
                            : writable_instance_text(binding->name, binding->name_length);
}

} // namespace

void agent_log_error(const SetErrorRecord *record) {
  snmp_log(LOG_ERR, "fcs: SET of %s by user '%s' failed: %s (code %d)\n",
           written_instance().c_str(), agent_session_user(0), record->text, record->code);
}

void agent_log_role_error(uint32_t message) {
  snmp_log(LOG_WARNING,
           "fcs: SET of %s by user '%s' refused: the user's role may not write this VSAN"
           " (message 0x%08x)\n",
           written_instance().c_str(), agent_session_user(0), message);
}

void agent_log_set_error(uint32_t message, uint32_t number) {
  snmp_log(LOG_WARNING,
           "fcs: SET of %s by user '%s' refused: it names a VSAN that the user's role may not write"
           " (message 0x%08x, %u)\n",
           written_instance().c_str(), agent_session_user(0), message, number);
}
