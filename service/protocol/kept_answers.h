/** Answers to reads of rows, kept for as long as they are true. */
#pragma once

#include "record_dispatch.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace fcs {

/**
 * Whoever polls a fabric asks for the same rows again and again, and it seldom changes. So an
 * answer is kept until anybody changes the store, which each request finds out first.
 */
class KeptAnswers {
public:
  /** Octets of all that is kept. What has no room any more makes all the rest go. */
  static constexpr size_t kRoom = 16 << 20;

  /** Answers a record request like answer_request. */
  Answer answer(const RequestContext &context, uint32_t operation, Octets request,
                std::span<uint8_t> room);

private:
  struct Kept {
    Answer answer;
    std::vector<uint8_t> records;
  };

  bool are_of_now(FabricStore &store);
  void forget();
  void keep(const std::string &question, const Answer &answer, Octets records);

  std::map<std::string, Kept> answers_; ///< By all that they depend on: no question slows others.
  size_t size_ = 0;                     ///< Octets of all that is kept.
  StoreVersion version_{};              ///< Of the store that they are true of.
};

} // namespace fcs
