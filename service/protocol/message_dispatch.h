/**
 * Answers the messages other than record requests.
 */
#pragma once

#include "common/text/octets.h"
#include "common/wire/ipc_wire.h"
#include "record_dispatch.h"
#include "service/discovery/discovery.h"
#include "service/store/fabric_store.h"

#include <span>

namespace fcs {

/** What messages are about. */
struct MessageContext {
  FabricStore &store;
  Discovery &discovery;
};

/** A message that is served, with the flag and the payload length that its handler takes. */
struct ServedMessage {
  uint32_t opcode;
  uint32_t flag;
  uint32_t length;
  Answer (*answer)(const MessageContext &context, const uint8_t *payload, std::span<uint8_t> room);
};

/** The messages on connections of the agent and of the service's tools. */
extern const std::span<const ServedMessage> kAgentMessages;
extern const std::span<const ServedMessage> kControlMessages;

/**
 * Answers one message. FCS_ERR_NO_SUCH_RECORD for an opcode that is not in the table, then
 * FCS_ERR_BAD_OPERATION for another flag, then FCS_ERR_BAD_LENGTH.
 * \param room takes the answer's payload.
 */
Answer answer_message(std::span<const ServedMessage> served, const MessageContext &context,
                      const ipc_wire::FrameHeader &header, Octets payload, std::span<uint8_t> room);

} // namespace fcs
