/**
 * Requests of the service's own tools, on connections of the purpose kControl. Opcode and payload
 * travel in the same frames as the records of the agent; results are those of FcsResult.
 */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <cstdint>

/** Opcodes on a control connection. */
enum FcsControlMessage : uint32_t {
  /**
   * How the service is doing. No request payload; the answer is a JSON object: pid, uptimeSeconds,
   * requests (how many of the agent's it has answered), failedRequests (of these, with an error;
   * that there is no row is none), busySeconds (that it took to answer them), longestSeconds (the
   * longest of them), refusedConnections and droppedConnections (by the service, since its start),
   * waitingNotifications (until a client takes them), store (its path; left out if it is too long
   * for a message), storeInPlace (false once it has been deleted or replaced, and changes are
   * refused), vsans, elements, ports and platforms (how many the store holds, hidden ones
   * included), connections (how many by purpose).
   */
  FCS_CTL_STATUS = 1,
  /** A registration is rejected on a VSAN: FcsControlReject. Counted and announced. */
  FCS_CTL_REJECT = 2,
  /** A management address has changed: FcsAddressNotif. Announced. */
  FCS_CTL_CHANGE_ADDRESS = 3,
  /** The discovery of a VSAN is complete or times out, also if none runs: FcsVsanNotif. */
  FCS_CTL_COMPLETE = 4,
  FCS_CTL_TIME_OUT = 5,
  /** Which notifications are wanted: FcsControlWanted. Lasts. */
  FCS_CTL_WANT = 6,
};

/** Payload of FCS_CTL_REJECT. */
struct FcsControlReject {
  uint32_t vsan;
  FcsRejectNotif reject;
};
static_assert(sizeof(FcsControlReject) == 12);

/** Payload of FCS_CTL_WANT, and its answer: 1 wanted, 0 not; FCS_CTL_AS_IS in a request. */
struct FcsControlWanted {
  uint32_t rejects;
  uint32_t completions;
};
static_assert(sizeof(FcsControlWanted) == 8);
constexpr uint32_t FCS_CTL_AS_IS = 2;
