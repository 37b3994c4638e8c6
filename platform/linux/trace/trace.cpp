#include "platform/trace.h"

#include "common/history/event_history.h"
#include "platform/linux/settings/settings.h"
#include "trace_output.h"

#include <cstdarg>
#include <cstdio>
#include <stdexcept>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

static_assert(TRACE_RECORD_ROOM == EventHistoryWriter::kRecordRoom);

const char *const trace_module_name = "fcs_mib";

static EventHistoryWriter history;

/** Does what gives the events a file; when it fails they have none. */
template <typename Prepare> static void prepare_history(Prepare prepare) {
  try {
    prepare();
  } catch (const std::runtime_error &error) {
    snmp_log(LOG_ERR, "fcs: %s; events are not recorded\n", error.what());
    history = EventHistoryWriter();
  }
}

void trace_output_open() {
  history = EventHistoryWriter();
  if (settings().history_level != 0) {
    prepare_history([] { history = EventHistoryWriter(settings().history_file); });
  }
}

int trace_hist_filtered(uint32_t /*module*/, uint32_t level) {
  return level > settings().history_level || !history.is_open() ? 1 : 0;
}

void trace_hist_event(uint32_t module, uint32_t length, const void *record) {
  if (!history.append(module, record, length)) {
    snmp_log(LOG_WARNING,
             "fcs: event history %s: was truncated or overwritten and is started anew\n",
             settings().history_file.c_str());
    prepare_history([] { history.start_anew(); });
    (void)history.append(module, record, length);
  }
}

int trace_debug_on(uint32_t /*level*/, int /*unit*/, int /*instance*/, int /*console*/) {
  return snmp_get_do_debugging() != 0 &&
                 debug_is_token_registered(trace_module_name) == SNMPERR_SUCCESS
             ? 1
             : 0;
}

void debug_printf(int /*console*/, const char *module, int /*instance*/, const char *format, ...) {
  char line[1024];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  debugmsgtoken(module, "%s", line);
  debugmsg(module, "%s", line);
}
