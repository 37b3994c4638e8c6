#include "sleeping_processors.h"

#include "common/system/fd.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

namespace {

using Seconds = std::chrono::duration<double>;

constexpr Seconds kBetweenLooks{0.1};

/** What /proc/uptime tells. */
struct Times {
  Seconds up{};
  Seconds asleep{}; ///< Of all processors together.
};

Times times() {
  static const Fd file(open("/proc/uptime", O_RDONLY | O_CLOEXEC));
  std::array<char, 64> text{};
  double up = 0;
  double asleep = 0;
  if (pread(file.get(), text.data(), text.size() - 1, 0) <= 0 ||
      sscanf(text.data(), "%lf %lf", &up, &asleep) != 2) {
    return {};
  }
  return {Seconds(up), Seconds(asleep)};
}

/** Those that others have to themselves may sleep, and be of no use. */
bool may_run_anywhere() {
  cpu_set_t allowed;
  return sched_getaffinity(0, sizeof(allowed), &allowed) == 0 &&
         CPU_COUNT(&allowed) == sysconf(_SC_NPROCESSORS_ONLN);
}

} // namespace

bool processors_sleep() {
  using Clock = std::chrono::steady_clock;
  static Clock::time_point next_look;
  static Times before;
  static bool sleep;
  if (Clock::now() >= next_look) {
    next_look = Clock::now() + std::chrono::duration_cast<Clock::duration>(kBetweenLooks);
    const Times now = times();
    sleep = now.up > before.up && now.asleep - before.asleep > (now.up - before.up) / 2 &&
            may_run_anywhere();
    before = now;
  }
  return sleep;
}
