// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_trace.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>

namespace {

/** What the event history keeps of a line. */
struct HistoryRecord {
  uint32_t level;
  char text[TRACE_TEXT_ROOM];
};

/** Where a line is being written; what goes beyond its end is dropped. */
struct LineEnd {
  char *at;
  char *limit;

  void append(char character) {
    if (at < limit) {
      *at++ = character;
    }
  }

  void append(const char *text, size_t length) {
    length = std::min(length, static_cast<size_t>(limit - at));
    memcpy(at, text, length);
    at += length;
  }
};

/**
 * Formats a line of texts (%s) and decimal numbers (%d). Nearly all lines are of this kind, and
 * vsnprintf would take several times as long for them.
 * \return false for a line with anything else.
 */
bool format_plain(LineEnd &line, const char *format, va_list arguments) {
  for (; *format != '\0'; ++format) {
    if (*format != '%') {
      line.append(*format);
    } else if (*++format == 's') {
      const char *text = va_arg(arguments, const char *);
      if (text == nullptr) {
        return false;
      }
      line.append(text, strlen(text));
    } else if (*format == 'd') {
      char digits[std::numeric_limits<int>::digits10 + 2];
      const char *last = std::to_chars(digits, std::end(digits), va_arg(arguments, int)).ptr;
      line.append(digits, static_cast<size_t>(last - digits));
    } else {
      return false;
    }
  }
  return true;
}

/** \return the characters of the line, at most `room` - 1 of them. */
[[gnu::format(printf, 3, 0)]] size_t format_line(char *text, size_t room, const char *format,
                                                 va_list arguments) {
  va_list for_plain;
  va_copy(for_plain, arguments);
  LineEnd line{text, text + room - 1};
  const bool plain = format_plain(line, format, for_plain);
  va_end(for_plain);
  if (plain) {
    return static_cast<size_t>(line.at - text);
  }
  const int length = vsnprintf(text, room, format, arguments);
  return length < 0 ? 0 : std::min(static_cast<size_t>(length), room - 1);
}

} // namespace

void fcs_trace_history(FcsTraceLevel level, const char *format, ...) {
  HistoryRecord record;
  record.level = level;
  va_list arguments;
  va_start(arguments, format);
  const size_t length = format_line(record.text, sizeof(record.text), format, arguments);
  va_end(arguments);
  record.text[length] = '\0';
  trace_hist_event(FCS_TRACE_MODULE,
                   static_cast<uint32_t>(offsetof(HistoryRecord, text) + length + 1), &record);
}

void fcs_print(const char *format, ...) {
  char line[TRACE_TEXT_ROOM];
  va_list arguments;
  va_start(arguments, format);
  const size_t length = format_line(line, sizeof(line), format, arguments);
  va_end(arguments);
  fwrite(line, 1, length, stdout);
}
