#include "service/read_ahead.h"

#include <algorithm>

namespace fcs {

Answer ReadAhead::answer(const RequestContext &context, uint32_t operation, Octets request,
                         std::span<uint8_t> room) {
  Answer made;
  if (state_ == State::kPrepared && operation == FCS_OP_GETNEXT &&
      std::ranges::equal(request, expected())) {
    made = answer_;
    std::copy_n(record_.begin(), made.length, room.begin());
  } else {
    made = answer_request(context, operation, request, room);
  }
  forget();
  if (operation == FCS_OP_GETNEXT && made.result == FCS_OK) {
    expect(request, room.first(made.length));
  }
  return made;
}

/** Expects the request for the row behind `record`, which begins with its key. */
void ReadAhead::expect(Octets request, std::span<const uint8_t> record) {
  const size_t key_length = request.size() - sizeof(uint32_t);
  if (key_length > record.size()) {
    return;
  }
  request_length_ = request.size();
  std::copy_n(request.begin(), sizeof(uint32_t), request_.begin());
  std::copy_n(record.begin(), key_length, request_.begin() + sizeof(uint32_t));
  state_ = State::kExpecting;
}

void ReadAhead::prepare(const RequestContext &context) {
  if (state_ == State::kExpecting) {
    answer_ = answer_request(context, FCS_OP_GETNEXT, expected(), record_);
    state_ = State::kPrepared;
  }
}

} // namespace fcs
