/**
 * Answers record requests out of the store.
 */
#pragma once

#include "service/fabric_store.h"
#include "service/octets.h"

#include <cstdint>
#include <span>

namespace fcs {

/** The answer to a request. */
struct Answer {
  int32_t result;  ///< FcsResult.
  uint32_t length; ///< Octets of the record; 0 unless the result is FCS_OK.
};

/**
 * Answers one record request.
 * \param operation FcsOperation, as the request's flag gave it.
 * \param request the message's payload: a record id, then the record's own request.
 * \param room takes the answer's record; has to hold any record.
 */
Answer answer_request(FabricStore &store, uint32_t operation, Octets request,
                      std::span<uint8_t> room);

} // namespace fcs
