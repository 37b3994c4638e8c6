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
  std::atomic<bool> torn;
};

Guarded guarded[8];
int guards;
struct sigaction previous;

bool holds(const Guarded &mapping, const void *address) {
  const auto first = reinterpret_cast<uintptr_t>(mapping.memory.load());
  const auto at = reinterpret_cast<uintptr_t>(address);
  return first != 0 && at >= first && at - first < mapping.length.load();
}

void on_sigbus(int /*signal*/, siginfo_t *info, void * /*context*/) {
  for (Guarded &mapping : guarded) {
    if (holds(mapping, info->si_addr) &&
        mmap(mapping.memory.load(), mapping.length.load(), PROT_READ | PROT_WRITE,
             MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED) {
      mapping.torn.store(true);
      return; // The access is made once more.
    }
  }
  // None of ours: the access is made once more for whoever was in charge before.
  sigaction(SIGBUS, &previous, nullptr);
}

void install() {
  struct sigaction action {};
  action.sa_sigaction = on_sigbus;
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGBUS, &action, &previous);
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
  free_place->torn.store(false);
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

bool MappingGuard::torn() const {
  return place_ >= 0 && guarded[place_].torn.load(std::memory_order_relaxed);
}
