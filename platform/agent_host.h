// SPDX-License-Identifier: BSD-3-Clause
/**
 * Agent host: who is asking, the notification switches, and the delivery of the FCS service's
 * notifications to the module. Everything happens on the agent's request thread.
 *
 * It also owes the write handlers their integers, on every machine: the value of an INTEGER or an
 * Unsigned32 is a 32-bit word in the machine's own order, and the whole word stands at the value's
 * address in every phase of a SET. The length says no more than that: the handlers refuse one above
 * 4, and read the word whatever it is.
 */
#pragma once

#include <cstdint>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

struct IpcMessage;

/**
 * User of a request: its SNMP security name, never a community.
 * \param request 0: the request being served.
 * \return a text that stays valid until the request is answered; empty outside of a request.
 */
const char *agent_session_user(int request);

/**
 * Session id of a request, for the records of the service.
 * \param request 0: the request being served. Outside of a request the result is 0.
 */
uint32_t agent_session_id(int request);

/** Sub-identifiers of the OID of an SNMP notification of the module. */
constexpr size_t AGENT_TRAP_OID_ROOM = 13;

/**
 * A handler of one of the service's notifications.
 *
 * \param message         The notification; null for none, which the handler passes over.
 * \param trap_oid        Room for AGENT_TRAP_OID_ROOM sub-identifiers.
 * \param trap_oid_length Its length, set when `*send` becomes 1.
 * \param send            Set to 1 when the agent host is to send an SNMP notification, else to 0.
 * \return the notification's variable bindings, owned by the agent host; null for none. The agent
 *         host puts snmpTrapOID.0 with `trap_oid` in front of them, and sysUpTime.0 where its
 *         senders do not.
 */
using AgentNotifHandler = netsnmp_variable_list *(const IpcMessage *message, oid *trap_oid,
                                                  size_t *trap_oid_length, int *send);

/**
 * Has `handler` called for every notification with message opcode `opcode`, one at a time and never
 * while a request is being served. An opcode has one handler; the last registration counts.
 */
void agent_notif_register(uint32_t opcode, AgentNotifHandler *handler);

/** Ends the registration of `opcode`. */
void agent_notif_unregister(uint32_t opcode);

/** Whether the SNMP notification of message opcode `opcode` is switched on: 1 when it is. */
int32_t agent_notif_enable_get(uint32_t opcode);

/**
 * Switches the SNMP notification of message opcode `opcode` on (`enable` 1) or off (0). That
 * outlives the agent from the end of the request on, which may have thousands of these calls.
 * \return 0 on success, or an error code for errno_text.
 */
int32_t agent_notif_enable_set(uint32_t opcode, int32_t enable);

/**
 * Appends a variable binding.
 * \param list  The list so far; null for a new one.
 * \param value Its octets are copied; an INTEGER is a 32-bit word.
 * \return the list; null when memory is short, and `list` is then released.
 */
netsnmp_variable_list *agent_build_varbind(netsnmp_variable_list *list, const void *value,
                                           u_char type, size_t value_length, const oid *name,
                                           size_t name_length);

/** What a write that the service has refused hands to agent_log_error. */
struct SetErrorRecord {
  uint8_t reserved[260]; ///< Zero.
  int32_t code;
  char text[256]; ///< NUL-terminated.
};

/** Records a failed write in the agent host's log. */
void agent_log_error(const SetErrorRecord *record);

/** The message of a VSAN that the user's role may not write. */
constexpr uint32_t AGENT_VSAN_NOT_ALLOWED = 0x4049002C;

/** Records in the agent host's log that a role refused a SET of a row; `message` says why. */
void agent_log_role_error(uint32_t message);

/**
 * Records in the agent host's log that a role refused a SET of a VSAN list; `message` says why.
 * \param number 584, whatever was refused: it tells log scanners this place, an operator nothing.
 */
void agent_log_set_error(uint32_t message, uint32_t number);
