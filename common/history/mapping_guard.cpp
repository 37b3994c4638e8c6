#include "mapping_guard.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <iterator>
#include <sys/mman.h>
#include <utility>

namespace {

/** A guarded mapping, as the signal handler finds it. */
struct Guarded {
  std::atomic<void *> memory; ///< Null: the place is free.
  std::atomic<size_t> length;
};

Guarded guarded[8];
int guards;
/** What was in charge of the signal before. */
struct sigaction previous;
constexpr int kOnce = static_cast<int>(SA_RESETHAND);

bool holds(const Guarded &mapping, const void *address) {
  const auto first = reinterpret_cast<uintptr_t>(mapping.memory.load());
  const auto at = reinterpret_cast<uintptr_t>(address);
  return first != 0 && at >= first && at - first < mapping.length.load();
}

/** Whether a process has sent the signal; otherwise it is an access that has failed. */
bool is_sent(const siginfo_t &info) {
  return info.si_code <= 0;
}

/** Has whoever was in charge before deal with a signal that is none of ours. */
void hand_on(int signal, siginfo_t *info, void *context) {
  if (previous.sa_handler == SIG_IGN && is_sent(*info)) {
    return;
  }
  if (previous.sa_handler == SIG_DFL || previous.sa_handler == SIG_IGN) {
    // The end of the process: the access is made once more, or the signal sent once more.
    sigaction(SIGBUS, &previous, nullptr);
    if (is_sent(*info)) {
      raise(signal);
    }
    return;
  }
  const struct sigaction in_charge = previous;
  if ((in_charge.sa_flags & kOnce) != 0) {
    previous = {};
  }
  if ((in_charge.sa_flags & SA_SIGINFO) != 0) {
    in_charge.sa_sigaction(signal, info, context);
  } else {
    in_charge.sa_handler(signal);
  }
}

void on_sigbus(int signal, siginfo_t *info, void *context) {
  for (Guarded &mapping : guarded) {
    if (!is_sent(*info) && holds(mapping, info->si_addr) &&
        mmap(mapping.memory.load(), mapping.length.load(), PROT_READ | PROT_WRITE,
             MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED) {
      return; // The access is made once more.
    }
  }
  hand_on(signal, info, context);
}

void install() {
  sigaction(SIGBUS, nullptr, &previous);
  struct sigaction action = previous; // Its mask and its stack are for what is handed on.
  action.sa_sigaction = on_sigbus;
  action.sa_flags = (previous.sa_flags | SA_SIGINFO) & ~kOnce;
  sigaction(SIGBUS, &action, nullptr);
}

/** Gives the signal back, unless somebody else has taken it over. */
void uninstall() {
  struct sigaction current {};
  if (sigaction(SIGBUS, nullptr, &current) == 0 && (current.sa_flags & SA_SIGINFO) != 0 &&
      current.sa_sigaction == on_sigbus) {
    sigaction(SIGBUS, &previous, nullptr);
  }
}

} // namespace

MappingGuard::MappingGuard(void *memory, size_t length) {
  const auto free_place = std::find_if(std::begin(guarded), std::end(guarded),
                                       [](const Guarded &place) { return !place.memory.load(); });
  if (free_place == std::end(guarded)) {
    return;
  }
  free_place->length.store(length);
  free_place->memory.store(memory);
  place_ = static_cast<int>(free_place - std::begin(guarded));
  if (guards++ == 0) {
    install();
  }
}

MappingGuard::MappingGuard(MappingGuard &&other) noexcept
    : place_(std::exchange(other.place_, -1)) {}

MappingGuard &MappingGuard::operator=(MappingGuard &&other) noexcept {
  std::swap(place_, other.place_);
  return *this;
}

MappingGuard::~MappingGuard() {
  if (place_ >= 0) {
    guarded[place_].memory.store(nullptr);
    if (--guards == 0) {
      uninstall();
    }
  }
}
