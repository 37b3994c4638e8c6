/**
 * The row that a walk will ask for next, read while the agent is busy with the one before.
 */
#pragma once

#include "platform/linux/ipc_wire.h"
#include "service/record_dispatch.h"

#include <array>
#include <cstdint>
#include <span>

namespace fcs {

/** Serves as answer_request does, within one SharedRead: it has to be forgotten with that. */
class ReadAhead {
public:
  /** answer_request; what has been prepared for this very request is not read again. */
  Answer answer(const RequestContext &context, uint32_t operation, Octets request,
                std::span<uint8_t> room);

  /** Prepares the answer to the request that is expected, if one is: nobody should be waiting. */
  void prepare(const RequestContext &context);

  void forget() { state_ = State::kNothing; }

private:
  enum class State { kNothing, kExpecting, kPrepared };

  void expect(Octets request, std::span<const uint8_t> record);
  Octets expected() const { return {request_.data(), request_length_}; }

  State state_ = State::kNothing;
  std::array<uint8_t, ipc_wire::kMessageRoom> request_{}; ///< The GETNEXT that is expected.
  size_t request_length_ = 0;
  Answer answer_{};
  std::array<uint8_t, ipc_wire::kMessageRoom> record_{};
};

} // namespace fcs
