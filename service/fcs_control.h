/**
 * Requests of the service's own tools, on connections of the purpose kControl. Opcode and payload
 * travel in the same frames as the records of the agent; results are those of FcsResult.
 */
#pragma once

#include <cstdint>

/** Opcodes on a control connection. */
enum FcsControlMessage : uint32_t {
  /**
   * How the service is doing. No request payload; the answer is a JSON object: pid, uptimeSeconds,
   * store (its path; left out if it is too long for a message), vsans, elements, ports and
   * platforms (how many the store holds, hidden ones included), connections (how many by purpose).
   */
  FCS_CTL_STATUS = 1,
};
