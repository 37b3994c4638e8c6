#include "notifications.h"

#include "platform/agent_host.h"

#include <cstring>
#include <map>

namespace {

/** Length of the OIDs of the module's SNMP notifications. */
constexpr size_t kTrapOidLength = 13;

std::map<uint32_t, AgentNotifHandler *> handlers;

} // namespace

void agent_notif_register(uint32_t opcode, AgentNotifHandler *handler) {
  handlers[opcode] = handler;
}

void agent_notif_unregister(uint32_t opcode) {
  handlers.erase(opcode);
}

int32_t agent_notif_enable_get(uint32_t /*opcode*/) {
  return 0; // No notification is sent before a manager can switch it on.
}

void notifications_deliver(const ipc_wire::Frame &frame, size_t length) {
  const auto handler = handlers.find(frame.header.opcode);
  if (handler == handlers.end()) {
    static bool reported = false; // Once: the service may send as many as it likes.
    if (!reported) {
      reported = true;
      snmp_log(LOG_WARNING,
               "fcs: notification with unknown opcode %u; it and its like are dropped\n",
               frame.header.opcode);
    }
    return;
  }
  IpcMessage message{};
  message.opcode = frame.header.opcode;
  memcpy(message.payload, frame.payload, length);
  oid trap_oid[kTrapOidLength] = {};
  size_t trap_oid_length = 0;
  int send = 0;
  netsnmp_variable_list *bindings = handler->second(&message, trap_oid, &trap_oid_length, &send);
  snmp_free_varbind(bindings);
}
