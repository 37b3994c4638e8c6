/**
 * Answers record requests: reads out of the store, and hands what is to be stored to configuration.
 */
#pragma once

#include "service/configuration.h"
#include "service/fabric_store.h"
#include "service/octets.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace fcs {

/** The answer to a request. */
struct Answer {
  int32_t result;  ///< FcsResult.
  uint32_t length; ///< Octets of the record; 0 unless the result is FCS_OK.
};

/** What a request is about, and whose it is. */
struct RequestContext {
  FabricStore &store;
  Configuration &configuration; ///< Of the same store.
  std::string_view user;
};

/**
 * Answers one record request.
 * \param operation FcsOperation, as the request's flag gave it.
 * \param request the message's payload: a record id, then the record's own request.
 * \param room takes the answer's record; has to hold any record.
 */
Answer answer_request(const RequestContext &context, uint32_t operation, Octets request,
                      std::span<uint8_t> room);

} // namespace fcs
