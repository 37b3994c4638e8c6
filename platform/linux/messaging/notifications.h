/**
 * The service's notifications and the module's own messages on their way to the handlers, and the
 * SNMP notifications that come of them.
 */
#pragma once

#include "common/wire/ipc_wire.h"

#include <cstddef>
#include <string>

/** Has the SNMP notifications come from a context of the agent; an empty one is the default. */
void notifications_come_from(const std::string &context);

/**
 * Hands a notification of the service to the handler registered for its opcode, if there is one,
 * and sends the SNMP notification that the handler asks for, unless it is switched off. A message
 * that the handler sends follows at once: it cannot be left behind by a service that goes on.
 */
void notifications_deliver(const ipc_wire::Frame &frame, size_t length);
