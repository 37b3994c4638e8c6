/** Waiting for a message without sleeping. */
#pragma once

#include <algorithm>
#include <chrono>

namespace ipc_wire {

/**
 * Being put to sleep and woken up again takes longer than most answers do. Both ends of a busy
 * connection therefore look for the next message again and again before they sleep. That pays only
 * while the other end has a processor of its own: whoever has looked in vain several times in a row
 * sleeps at once for a while, and for longer each time that a further look is in vain. On a machine
 * with a single processor nobody looks.
 */
class Patience {
public:
  /** \param longest How long to look for one message. */
  explicit Patience(std::chrono::microseconds longest);

  /**
   * Calls `look` until it returns true.
   * \return false when it is time to sleep.
   */
  template <typename Look> bool wait(Look look) {
    if (naps_ > 0) {
      --naps_;
      return false;
    }
    const auto until = Clock::now() + longest_;
    bool in_time = true;
    while (!look()) {
      if (!in_time) {
        miss();
        return false;
      }
      in_time = Clock::now() < until;
    }
    // Whoever was kept from looking has to share a processor, if not with the other end.
    if (in_time) {
      hit();
    } else {
      miss();
    }
    return true;
  }

  /** Waits in vain, in a row, that show that looking does not pay at present. */
  static constexpr int kMostMisses = 8;
  /** Messages to be slept for then, and at most. */
  static constexpr int kFewestNaps = 200;
  static constexpr int kMostNaps = 100 * kFewestNaps;
  /** Waits with success, in a row, that show that it pays again. */
  static constexpr int kHitsToRecover = 50;

private:
  using Clock = std::chrono::steady_clock;

  void hit() {
    misses_ = 0;
    if (suspicious_ && ++hits_ == kHitsToRecover) {
      suspicious_ = false;
      next_naps_ = kFewestNaps;
    }
  }

  void miss() {
    hits_ = 0;
    if (++misses_ == kMostMisses || suspicious_) {
      misses_ = 0;
      suspicious_ = true;
      naps_ = next_naps_;
      next_naps_ = std::min(2 * next_naps_, kMostNaps);
    }
  }

  std::chrono::microseconds longest_;
  bool suspicious_ = false; ///< Whether a single miss is enough.
  int misses_ = 0;          ///< In a row.
  int hits_ = 0;            ///< In a row, while suspicious.
  int naps_ = 0;            ///< Still to be taken.
  int next_naps_ = kFewestNaps;
};

} // namespace ipc_wire
