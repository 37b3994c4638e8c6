/** The walk of a manager that is built on Net-SNMP's library, as most are. */
#pragma once

#include "sample.h"

#include <cstdint>
#include <string>

namespace bench {

struct LibraryWalk {
  uint16_t port;
  std::string community;
  std::string root;
  int32_t bulk;          ///< Repetitions of a GETBULK; 0 for GETNEXT.
  double warm_up;        ///< Seconds.
  double seconds;        ///< 0 for one walk.
  Processes processes{}; ///< Whose CPU time is told.
};

/**
 * Walks a subtree over and over, one request at a time, SNMPv2c on loopback.
 * \return the sample as Sample::finish tells it.
 * \throws std::runtime_error when the agent does not answer as it should.
 */
std::string walk_with_library(const LibraryWalk &walk);

} // namespace bench
