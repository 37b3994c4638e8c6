/** The agent host's log of writes that failed or were refused: one line each. */
#include "agent_request.h"
#include "platform/agent_host.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

void agent_log_error(const SetErrorRecord *record) {
  snmp_log(LOG_ERR, "fcs: SET of %s by user '%s' failed: %s (code %d)\n",
           agent_request_object().c_str(), agent_session_user(0), record->text, record->code);
}

void agent_log_set_error(uint32_t message, uint32_t number) {
  snmp_log(LOG_WARNING,
           "fcs: SET of %s by user '%s' refused: it names a VSAN that the user's role may not write"
           " (message 0x%08x, %u)\n",
           agent_request_object().c_str(), agent_session_user(0), message, number);
}
