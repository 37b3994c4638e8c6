/** What a series of requests takes: time, latencies, and the CPU of the processes that serve it. */
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

/** Processes by the names that the result gives them. */
using Processes = std::map<std::string, pid_t>;

class Sample {
public:
  /**
   * Starts the clocks.
   * \throws std::system_error when a process has no CPU clock, for instance because it has ended.
   */
  explicit Sample(Processes processes);

  /** Adds a request that was sent at `sent` and has been answered now. */
  void add_request(Clock::time_point sent);

  void add_varbinds(size_t varbinds) { varbinds_ += varbinds; }

  /**
   * Stops the clocks.
   * \return a JSON object: `varbinds`, `requests`, `seconds`, the latencies `p50_us` and `p99_us`
   * (nearest rank), and `cpu_us` with the CPU time of each process in microseconds.
   */
  std::string finish();

private:
  using Microseconds = std::map<std::string, double>;
  Microseconds cpu_now() const;

  Processes processes_;
  std::vector<double> latencies_us_;
  size_t varbinds_ = 0;
  Microseconds cpu_at_start_;
  Clock::time_point started_;
};

} // namespace bench
