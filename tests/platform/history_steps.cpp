#include "history_steps.h"

#include "agent.h"
#include "common/history/event_history.h"
#include "platform/linux/settings/settings.h"
#include "platform/linux/trace/trace_output.h"
#include "platform/trace.h"
#include "service_ends.h"
#include "tests/played_program.h"

#include <fstream>
#include <optional>
#include <utility>

namespace {

/** LEVEL TEXT TIMES: a text "#" is the number of the event. */
void record(std::istream &words) {
  const auto level = take<uint32_t>(words);
  const std::string text = take(words);
  for (int left = take<int>(words), done = 1; left > 0; --left, ++done) {
    std::string event(reinterpret_cast<const char *>(&level), sizeof(level));
    event += text == "#" ? std::to_string(done) : text;
    trace_hist_event(7, static_cast<uint32_t>(event.size() + 1), event.c_str());
  }
}

/** Tells the records to come, but those that count on from the one in front of them. */
void read(EventHistoryReader &reader) {
  size_t records = 0;
  std::string last;
  for (EventRecord event; reader.next(event); ++records) {
    const std::string before = std::exchange(last, event.text);
    if (records == 0 || event.lost != 0 || atoi(last.c_str()) != atoi(before.c_str()) + 1) {
      Agent::tell(readable(last) + ", level " + std::to_string(event.level) + " of " +
                  std::to_string(event.module) + " at " +
                  std::to_string((std::chrono::nanoseconds(event.time_ns) - kStart).count()) +
                  ", lost " + std::to_string(event.lost));
    }
  }
  Agent::tell(std::to_string(records) + " records");
}

/** FILE OFFSET WORD: puts 64 bits into a file. 16 has the position of the oldest record, 24 that
 * behind the last one. */
void put(std::istream &words) {
  std::fstream file(take(words), std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(take<int>(words));
  const auto octets = take<uint64_t>(words);
  file.write(reinterpret_cast<const char *>(&octets), sizeof(octets));
}

/** LEVEL FILE */
void open_history(std::istream &words) {
  settings_for_change().history_level = take<uint32_t>(words);
  settings_for_change().history_file = take(words);
  trace_output_open();
}

void print(const std::string &text) {
  if (trace_debug_on(1, 0, 0, 1) == 1) {
    debug_printf(1, trace_module_name, 0, "%s %d\n", text.c_str(), 1);
  } else {
    Agent::tell("no debugging");
  }
}

} // namespace

StepTable history_steps(std::istream &words) {
  const auto reader = std::make_shared<std::optional<EventHistoryReader>>();
  const auto number = [&words] { return take<uint32_t>(words); };
  const auto file = [&words] { return take(words); };
  return {
      {"history", [&words] { open_history(words); }},
      {"filtered", [=] { Agent::tell(trace_hist_filtered(1, number()) != 0 ? "yes" : "no"); }},
      {"event", [&words] { record(words); }},
      {"print", [=] { print(file()); }},
      {"reader", [=] { reader->emplace(file()); }},
      {"read", [=] { read(**reader); }},
      {"writer", [=] { EventHistoryWriter another(file()); }},
      {"put", [&words] { put(words); }},
  };
}
