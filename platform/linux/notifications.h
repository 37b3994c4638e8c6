/** The receiving side of the FCS service's notifications. */
#pragma once

#include "ipc_wire.h"

#include <cstddef>

/**
 * A notification as the handlers see it: the opcode, and a payload that is followed by zeros up to
 * the end of the room.
 */
struct IpcMessage {
  uint32_t opcode;
  uint8_t payload[ipc_wire::kMessageRoom];
};

/** Hands a notification to the handler registered for its opcode, if there is one. */
void notifications_deliver(const ipc_wire::Frame &frame, size_t length);
