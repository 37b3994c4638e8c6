#include "notifications.h"

#include "notification_switches.h"
#include "platform/agent_host.h"
#include "platform/ipc.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <map>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

/** A notification as the handlers see it: zeros follow the payload up to the end of the room. */
struct IpcMessage {
  uint32_t opcode;
  uint8_t payload[IPC_MESSAGE_ROOM];
};

namespace {

std::map<uint32_t, AgentNotifHandler *> handlers;

std::string own_context;

/** Messages on their way to their handlers: one of the service, then those that its handler sends.
 * The module sends from its handlers only. */
std::deque<IpcMessage> waiting;

IpcMessage message_of(uint32_t opcode, const void *payload, size_t length) {
  IpcMessage message{};
  message.opcode = opcode;
  memcpy(message.payload, payload, std::min(length, sizeof(message.payload)));
  return message;
}

/** Sends an SNMP notification through the agent's own senders. */
void send_notification(const oid *trap_oid, size_t length, netsnmp_variable_list *bindings) {
  constexpr oid kSnmpTrapOid[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
  netsnmp_variable_list *list = nullptr;
  snmp_varlist_add_variable(&list, kSnmpTrapOid, OID_LENGTH(kSnmpTrapOid), ASN_OBJECT_ID, trap_oid,
                            length * sizeof(oid));
  if (list == nullptr) {
    snmp_log(LOG_ERR, "fcs: no memory for a notification\n");
    return;
  }
  list->next_variable = bindings;
  send_v3trap(list, own_context.empty() ? nullptr : own_context.c_str());
  list->next_variable = nullptr;
  snmp_free_varbind(list);
}

void deliver(const IpcMessage &message) {
  const auto handler = handlers.find(message.opcode);
  if (handler == handlers.end()) {
    static bool reported = false; // Once: the service may send as many as it likes.
    if (!reported) {
      reported = true;
      snmp_log(LOG_WARNING,
               "fcs: notification with unknown opcode %u; it and its like are dropped\n",
               message.opcode);
    }
    return;
  }
  oid trap_oid[AGENT_TRAP_OID_ROOM] = {};
  size_t trap_oid_length = 0;
  int send = 0;
  netsnmp_variable_list *bindings = handler->second(&message, trap_oid, &trap_oid_length, &send);
  if (send == 1 && notification_is_switched_on(message.opcode)) {
    send_notification(trap_oid, trap_oid_length, bindings);
  }
  snmp_free_varbind(bindings);
}

} // namespace

void notifications_come_from(const std::string &context) {
  own_context = context;
}

void notifications_deliver(const ipc_wire::Frame &frame, size_t length) {
  waiting.push_back(message_of(frame.header.opcode, frame.payload, length));
  while (!waiting.empty()) {
    const IpcMessage message = waiting.front();
    waiting.pop_front();
    deliver(message);
  }
}

const void *ipc_payload_get(const IpcMessage *message) {
  return message->payload;
}

int32_t ipc_send(uint32_t /*queue*/, const IpcAddress *destination, uint32_t opcode,
                 const void *payload, uint32_t length, uint32_t /*reserved1*/,
                 uint32_t /*reserved2*/, uint32_t /*reserved3*/) {
  if (memcmp(destination, &IPC_OWN_NOTIFICATIONS, sizeof(*destination)) != 0 ||
      length > IPC_MESSAGE_ROOM) {
    return -1;
  }
  waiting.push_back(message_of(opcode, payload, length));
  return 0;
}

void agent_notif_register(uint32_t opcode, AgentNotifHandler *handler) {
  handlers[opcode] = handler;
}

void agent_notif_unregister(uint32_t opcode) {
  handlers.erase(opcode);
}

netsnmp_variable_list *agent_build_varbind(netsnmp_variable_list *list, const void *value,
                                           u_char type, size_t value_length, const oid *name,
                                           size_t name_length) {
  if (snmp_varlist_add_variable(&list, name, name_length, type, value, value_length) == nullptr) {
    snmp_free_varbind(list);
    return nullptr;
  }
  return list;
}
