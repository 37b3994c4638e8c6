#include "service_manager.h"

#include <cstdint>

#ifdef FCS_HAVE_LIBSYSTEMD
#include <systemd/sd-daemon.h>
#else
static int sd_notify(int /*unset_environment*/, const char * /*state*/) {
  return 0;
}
static int sd_watchdog_enabled(int /*unset_environment*/, uint64_t * /*microseconds*/) {
  return 0;
}
#endif

namespace fcs {

ServiceManager::ServiceManager() {
  uint64_t microseconds = 0;
  if (sd_watchdog_enabled(0, &microseconds) > 0) {
    interval_ = std::chrono::microseconds(microseconds / 2);
    due_ = Clock::now();
  }
}

void ServiceManager::ready(const std::string &status) {
  sd_notify(0, ("READY=1\nSTATUS=" + status).c_str());
}

void ServiceManager::stopping() {
  sd_notify(0, "STOPPING=1");
}

void ServiceManager::run_due() {
  if (const Clock::time_point now = Clock::now(); due_ <= now) {
    sd_notify(0, "WATCHDOG=1");
    due_ = now + interval_;
  }
}

} // namespace fcs
