/** What the fuzzers share: taking an input apart, and stating what must hold whatever it is. */
#pragma once

#include "tests/require.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

/** Octets that the sanitizers have seen to be readable. */
inline std::vector<uint8_t> read_all(const void *first, size_t length) {
  const auto *octets = static_cast<const uint8_t *>(first);
  return {octets, octets + length};
}

/** An input, taken apart front to back; behind its end everything is zero. */
class FuzzInput {
public:
  FuzzInput(const uint8_t *octets, size_t length) : octets_(octets), left_(length) {}

  bool empty() const { return left_ == 0; }
  /** A word or record of any type that may hold anything, as it lies in memory. */
  template <typename Value> Value take() {
    Value value{};
    take_into(&value, sizeof(value));
    return value;
  }
  uint8_t octet() { return take<uint8_t>(); }
  /** A number up to `most`, in two octets. */
  size_t up_to(size_t most) { return take<uint16_t>() % (most + 1); }
  std::vector<uint8_t> octets(size_t length) {
    std::vector<uint8_t> taken(length);
    take_into(taken.data(), length);
    return taken;
  }

private:
  void take_into(void *target, size_t length) {
    const size_t there = std::min(length, left_);
    if (there > 0) {
      memcpy(target, octets_, there);
    }
    octets_ += there;
    left_ -= there;
  }

  const uint8_t *octets_;
  size_t left_;
};
