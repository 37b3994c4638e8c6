#include "fcs_trace.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

/** What the event history keeps of a line. */
struct HistoryRecord {
  uint32_t level;
  char text[512];
};

} // namespace

void fcs_trace_history(FcsTraceLevel level, const char *format, ...) {
  HistoryRecord record;
  va_list arguments;
  va_start(arguments, format);
  if (vsnprintf(record.text, sizeof(record.text), format, arguments) < 0) {
    record.text[0] = '\0';
  }
  va_end(arguments);
  record.level = level;
  const size_t length = offsetof(HistoryRecord, text) + std::strlen(record.text) + 1;
  trace_hist_event(FCS_TRACE_MODULE, static_cast<uint32_t>(length), &record);
}
