/** Keeping the calling thread on a processor. */
#pragma once

#include <cstddef>
#include <sched.h>

/** While it holds, the scheduler does not move the thread; afterwards it may as before. */
class ProcessorPin {
public:
  ProcessorPin() = default;
  ProcessorPin(const ProcessorPin &) = delete;
  ProcessorPin &operator=(const ProcessorPin &) = delete;
  ~ProcessorPin() { release(); }

  /** Takes the thread to a processor, by number, if it may run there. */
  void hold(int processor) {
    release();
    const auto there = static_cast<size_t>(processor);
    if (processor < 0 || processor >= CPU_SETSIZE ||
        sched_getaffinity(0, sizeof(allowed_), &allowed_) != 0 || !CPU_ISSET(there, &allowed_)) {
      return;
    }
    cpu_set_t only;
    CPU_ZERO(&only);
    CPU_SET(there, &only);
    held_ = sched_setaffinity(0, sizeof(only), &only) == 0 ? processor : -1;
  }

  /** The processor that the thread is held on; -1 when it is not. */
  int number() const { return held_; }

  /** Leaves alone what somebody else has allowed the thread meanwhile. */
  void release() {
    cpu_set_t now;
    if (held_ >= 0 && sched_getaffinity(0, sizeof(now), &now) == 0 && CPU_COUNT(&now) == 1 &&
        CPU_ISSET(static_cast<size_t>(held_), &now)) {
      sched_setaffinity(0, sizeof(allowed_), &allowed_);
    }
    held_ = -1;
  }

private:
  int held_ = -1;
  cpu_set_t allowed_{}; ///< Before it held.
};
