#include "interrupt.h"

#include <csignal>
#include <poll.h>

namespace snmpfcs {

namespace {

volatile sig_atomic_t interrupted = 0;

void note(int /*signal*/) {
  interrupted = 1;
}

} // namespace

void note_interrupts() {
  struct sigaction action {};
  action.sa_handler = note;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool is_interrupted() {
  return interrupted != 0;
}

void wait(std::chrono::milliseconds time) {
  if (!is_interrupted() && time.count() > 0) { // A negative time would be no end.
    poll(nullptr, 0, static_cast<int>(time.count()));
  }
}

} // namespace snmpfcs
