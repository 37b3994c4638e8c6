/** Waiting for a message without sleeping. */
#pragma once

#include <algorithm>
#include <chrono>
#include <sched.h>

namespace ipc_wire {

/**
 * Being put to sleep and woken up again takes longer than most answers do. Both ends of a busy
 * connection therefore look for the next message again and again before they sleep. That pays only
 * while the other end has a processor of its own and answers soon: every look in vain takes credit
 * that several successful ones have to earn, and whoever has none left sleeps at once for a while,
 * and for longer each time. On a machine with a single processor nobody looks.
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
    const auto began = Clock::now();
    const auto until = began + longest_;
    const auto generous_from = began + kSelfish;
    bool in_time = true;
    while (!look()) {
      if (!in_time) {
        miss();
        return false;
      }
      const auto now = Clock::now();
      in_time = now < until;
      if (now > generous_from) {
        sched_yield(); // The other end may be waiting for this very processor.
      }
    }
    // Whoever was kept from looking has to share a processor, if not with the other end.
    if (in_time) {
      hit();
    } else {
      miss();
    }
    return true;
  }

  /** How long the processor is kept to oneself; most messages that come at all come sooner. */
  static constexpr std::chrono::microseconds kSelfish{10};
  /** A successful look earns 1. A look in vain costs about as much as these save. */
  static constexpr int kCostOfMiss = 8;
  static constexpr int kMostCredit = 8 * kCostOfMiss;
  /** Messages to be slept for without credit, and at most. */
  static constexpr int kFewestNaps = 200;
  static constexpr int kMostNaps = 100 * kFewestNaps;

private:
  using Clock = std::chrono::steady_clock;

  void hit() {
    credit_ = std::min(credit_ + 1, kMostCredit);
    if (credit_ == kMostCredit) {
      next_naps_ = kFewestNaps;
    }
  }

  void miss() {
    credit_ -= kCostOfMiss;
    if (credit_ <= 0) {
      credit_ = 1; // The next look is a trial.
      naps_ = next_naps_;
      next_naps_ = std::min(2 * next_naps_, kMostNaps);
    }
  }

  std::chrono::microseconds longest_;
  int credit_ = kMostCredit;
  int naps_ = 0; ///< Still to be taken.
  int next_naps_ = kFewestNaps;
};

} // namespace ipc_wire
