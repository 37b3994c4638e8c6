/**
 * Answers record requests: reads out of the store, and hands what is to be stored to configuration.
 */
#pragma once

#include "common/text/octets.h"
#include "common/wire/shown_vsans.h"
#include "service/configuration/configuration.h"
#include "service/store/fabric_store.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace fcs {

/** The answer to a request. */
struct Answer {
  int32_t result;    ///< FcsResult.
  uint32_t length;   ///< Octets of the records; 0 unless the result is FCS_OK.
  uint32_t rows = 1; ///< How many records, all of the same length.
  int32_t end = 0;   ///< The result of FCS_OP_GETNEXT behind the last one, if it is known to fail.
};

/** What a request is about, whose it is, and which rows are of use to it. */
struct RequestContext {
  FabricStore &store;
  Configuration &configuration; ///< Of the same store.
  std::string_view user;
  uint32_t rows = 1;            ///< The one asked for, and those behind it.
  ipc_wire::ShownVsans shown{}; ///< Where the key begins with a VSAN: those that are of use.
};

/**
 * Answers one record request.
 * \param operation FcsOperation, as the request's flag gave it.
 * \param request the message's payload: a record id, then the record's own request.
 * \param room takes the answer's records, as many as fit; has to hold any record, and to be aligned
 *             as one.
 */
Answer answer_request(const RequestContext &context, uint32_t operation, Octets request,
                      std::span<uint8_t> room);

} // namespace fcs
