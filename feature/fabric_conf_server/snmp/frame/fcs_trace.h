// SPDX-License-Identifier: BSD-3-Clause
/**
 * The module's trace pattern. A line goes to the event history unless its level is filtered there,
 * and to the debug console when debugging of its level is on; the two tests are independent, and
 * the arguments of a line that goes nowhere are not evaluated.
 */
#pragma once

#include "platform/trace.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

/** The module's id in the event history. */
constexpr uint32_t FCS_TRACE_MODULE = 0x730000;

/**
 * The format of a line that is data: it stands there as it is traced, and takes one text. A format
 * that takes anything else does not compile; what it is given is checked where it is traced.
 */
class FcsLine {
public:
  consteval FcsLine(const char *format) : format_(format) {
    const std::string_view text = format;
    if (text.find('%') != text.rfind('%') || text.find("%s") == std::string_view::npos) {
      throw "the format does not take one text";
    }
  }

  /** \param conversions "%s": those that the compiler checks the arguments against. */
  [[gnu::format_arg(2)]] constexpr const char *format(const char * /*conversions*/) const {
    return format_;
  }

private:
  const char *format_;
};

/** Formats a line, cut to 511 characters, and records it in the event history at `level`. */
[[gnu::format(printf, 2, 3)]] void fcs_trace_history(FcsTraceLevel level, const char *format, ...);

/** Prints a line, cut to 511 characters, to standard output: printf in half its time. */
[[gnu::format(printf, 1, 2)]] void fcs_print(const char *format, ...);

/**
 * What the event history keeps of a detail that has no arguments but its function's name: the
 * compiler formats it.
 */
template <size_t kTextSize> struct FcsFixedDetail {
  uint32_t level = FCS_TRACE_DETAIL;
  char text[kTextSize] = {};

  /** \param format "%s" for the name, and a text without further conversions. */
  consteval FcsFixedDetail(std::string_view function, std::string_view format) {
    static_assert(kTextSize <= TRACE_TEXT_ROOM);
    if (!format.starts_with("%s") || format.rfind('%') != 0) {
      throw "the format takes arguments";
    }
    std::ranges::copy(format.substr(2), std::ranges::copy(function, text).out);
  }
};

template <size_t kTextSize> void fcs_trace_history(const FcsFixedDetail<kTextSize> &detail) {
  trace_hist_event(FCS_TRACE_MODULE, offsetof(FcsFixedDetail<kTextSize>, text) + kTextSize,
                   &detail);
}

#define FCS_TRACE_BY(to_history, level, ...)                                                       \
  do {                                                                                             \
    if (trace_hist_filtered(FCS_TRACE_MODULE, (level)) == 0) {                                     \
      to_history;                                                                                  \
    }                                                                                              \
    if (trace_debug_on((level), 0, 0, 1) != 0) {                                                   \
      debug_printf(1, trace_module_name, 0, __VA_ARGS__);                                          \
    }                                                                                              \
  } while (false)

#define FCS_TRACE(level, ...)                                                                      \
  FCS_TRACE_BY(fcs_trace_history((level), __VA_ARGS__), level, __VA_ARGS__)

/** Traces an event; the line stands for itself. */
#define FCS_EVENT(...) FCS_TRACE(FCS_TRACE_EVENT, __VA_ARGS__)

/** Traces a detail; the format's first "%s" is the name of the function it belongs to. */
#define FCS_DETAIL_AS(function, format, ...)                                                       \
  FCS_TRACE(FCS_TRACE_DETAIL, format,                                                              \
            static_cast<const char *>(function) __VA_OPT__(, ) __VA_ARGS__)

/** Traces a detail that is data, an FcsLine; the text that it takes is the name of the function. */
#define FCS_DETAIL_LINE(function, line) FCS_DETAIL_AS(function, (line).format("%s"))

/** Traces a detail of the calling function that has values in it. */
#define FCS_DETAIL_VALUES(format, ...) FCS_DETAIL_AS(__func__, format, __VA_ARGS__)

/** Traces a detail of the calling function that has none. */
#define FCS_DETAIL(format)                                                                         \
  FCS_TRACE_BY(static constexpr FcsFixedDetail<sizeof(__func__) + sizeof(format) - sizeof("%s")>   \
                   fixed_detail(__func__, format);                                                 \
               fcs_trace_history(fixed_detail), FCS_TRACE_DETAIL, format,                          \
               static_cast<const char *>(__func__))
