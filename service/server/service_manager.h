/**
 * What the service manager that started the service is told, if there is one: systemd's
 * notifications and its watchdog. Built without libsystemd, or started by hand, nobody is told
 * anything.
 */
#pragma once

#include <chrono>
#include <string>

namespace fcs {

class ServiceManager {
public:
  using Clock = std::chrono::steady_clock;

  ServiceManager();

  /** The service serves from now on. \param status one line for who asks how it is. */
  static void ready(const std::string &status);
  /** The service has begun to stop. */
  static void stopping();

  /** When the watchdog wants to hear from the service again; never without one. */
  Clock::time_point next_due() const { return due_; }
  /** Says that the service is alive, if that is due. */
  void run_due();

private:
  Clock::duration interval_{}; ///< Half of the time after which the watchdog bites; 0 without one.
  Clock::time_point due_ = Clock::time_point::max();
};

} // namespace fcs
