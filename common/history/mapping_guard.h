/**
 * Keeps a process alive when somebody truncates a file that it has mapped: the kernel then answers
 * an access with SIGBUS. A guarded mapping becomes zeros in memory of its own instead. Any other
 * SIGBUS is left to whoever was in charge of it before the first guard.
 */
#pragma once

#include <cstddef>

class MappingGuard {
public:
  MappingGuard() = default;
  /** Guards `length` octets at `memory`, as long as it lives. Their protection is lost with the
   * file: they can be read and written then. With too many guards in a process it does nothing. */
  MappingGuard(void *memory, size_t length);
  MappingGuard(MappingGuard &&other) noexcept;
  MappingGuard &operator=(MappingGuard &&other) noexcept;
  ~MappingGuard();

private:
  int place_ = -1; ///< Among the guarded mappings; -1: none.
};
