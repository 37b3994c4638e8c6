// SPDX-License-Identifier: BSD-3-Clause
/**
 * Trace facility: the event history, which can be read while the agent runs and after it has died,
 * and the debug console.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/** Levels of the module's lines. */
enum FcsTraceLevel : uint32_t {
  FCS_TRACE_EVENT = 100,  ///< Notable events and failures.
  FCS_TRACE_DETAIL = 101, ///< Function entry and exit, values returned and other detail.
};

/** Most octets of a record's text, its NUL included, and of a record. */
constexpr size_t TRACE_TEXT_ROOM = 512;
constexpr size_t TRACE_RECORD_ROOM = sizeof(uint32_t) + TRACE_TEXT_ROOM;

/** Name of the module on the debug console. */
extern const char *const trace_module_name;

/** 0 when records of `level` of the module `module` are to be recorded. */
int trace_hist_filtered(uint32_t module, uint32_t level);

/**
 * Records one event.
 * \param length Octets of `record`, at most TRACE_RECORD_ROOM.
 * \param record A 32-bit level word, then the text with its NUL.
 */
void trace_hist_event(uint32_t module, uint32_t length, const void *record);

/**
 * Whether lines of `level` go to the debug console: nonzero when they do.
 * \param unit     0.
 * \param instance 0.
 * \param console  1.
 */
int trace_debug_on(uint32_t level, int unit, int instance, int console);

/**
 * Writes one formatted line to the debug console.
 * \param console  1.
 * \param module   trace_module_name.
 * \param instance 0.
 */
[[gnu::format(printf, 4, 5)]] void debug_printf(int console, const char *module, int instance,
                                                const char *format, ...);
