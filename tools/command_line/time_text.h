/**
 * Times as the tools print them.
 */
#pragma once

#include <cstdint>
#include <string>

namespace cli {

/** Local time of the nanoseconds since 1970, as 2024-05-01 12:00:00.250. */
std::string time_text(int64_t time_ns);

/** The same time in UTC, for programs, as 2024-05-01T10:00:00.250Z. */
std::string utc_time_text(int64_t time_ns);

} // namespace cli
