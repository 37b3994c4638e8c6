/**
 * The module's trace pattern. A line goes to the event history unless its level is filtered there,
 * and to the debug console when debugging of its level is on; the two tests are independent, and
 * the arguments of a line that goes nowhere are not evaluated.
 */
#pragma once

#include "platform/trace.h"

#include <cstdint>

/** The module's id in the event history. */
constexpr uint32_t FCS_TRACE_MODULE = 0x730000;

enum FcsTraceLevel : uint32_t {
  FCS_TRACE_EVENT = 100,  ///< Notable events and failures.
  FCS_TRACE_DETAIL = 101, ///< Function entry and exit, values returned and other detail.
};

/** Formats a line, cut to 511 characters, and records it in the event history at `level`. */
[[gnu::format(printf, 2, 3)]] void fcs_trace_history(FcsTraceLevel level, const char *format, ...);

#define FCS_TRACE(level, ...)                                                                      \
  do {                                                                                             \
    if (trace_hist_filtered(FCS_TRACE_MODULE, (level)) == 0) {                                     \
      fcs_trace_history((level), __VA_ARGS__);                                                     \
    }                                                                                              \
    if (trace_debug_on((level), 0, 0, 1) != 0) {                                                   \
      debug_printf(1, trace_module_name, 0, __VA_ARGS__);                                          \
    }                                                                                              \
  } while (false)

/** Traces an event; the line stands for itself. */
#define FCS_EVENT(...) FCS_TRACE(FCS_TRACE_EVENT, __VA_ARGS__)

/** Traces a detail; the format's first "%s" is the name of the function it belongs to. */
#define FCS_DETAIL_AS(function, format, ...)                                                       \
  FCS_TRACE(FCS_TRACE_DETAIL, format,                                                              \
            static_cast<const char *>(function) __VA_OPT__(, ) __VA_ARGS__)

/** Traces a detail of the calling function. */
#define FCS_DETAIL(format, ...) FCS_DETAIL_AS(__func__, format __VA_OPT__(, ) __VA_ARGS__)
