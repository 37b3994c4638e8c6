/**
 * The service's log: one line an event on standard error, each with the local time.
 */
#pragma once

namespace fcs {

/** Writes one line; `format` as for printf, without the line's end. */
[[gnu::format(printf, 1, 2)]] void log_line(const char *format, ...);

} // namespace fcs
