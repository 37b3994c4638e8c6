/** What must hold whatever a test or a fuzzer does. */
#pragma once

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

/** Ends the program when a property does not hold. */
inline void require(bool holds, const char *property) {
  if (!holds) {
    dprintf(STDERR_FILENO, "does not hold: %s\n", property);
    abort();
  }
}
