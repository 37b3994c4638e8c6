#include "common/history/event_history.h"
#include "fcsctl.h"
#include "output.h"
#include "platform/trace.h"
#include "time_text.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>

namespace fcsctl {

namespace {

/** Levels of records, by the names that the command line and the output give them. */
const std::map<std::string, uint32_t> kLevels = {{"event", FCS_TRACE_EVENT},
                                                 {"detail", FCS_TRACE_DETAIL}};

constexpr std::chrono::milliseconds kPollInterval{100};

struct Options {
  bool follow = false;
  std::optional<size_t> lines;
  std::optional<uint32_t> level;
};

std::string level_name(uint32_t level) {
  for (const auto &[name, number] : kLevels) {
    if (number == level) {
      return name;
    }
  }
  return std::to_string(level);
}

/** The record's text on one line: its own line end goes, control characters become escapes. */
std::string one_line(const std::string &text) {
  std::string line;
  const size_t end = text.find_last_not_of('\n');
  for (size_t i = 0; end != std::string::npos && i <= end; ++i) {
    const auto octet = static_cast<unsigned char>(text[i]);
    if (octet >= 0x20 && octet != 0x7F) {
      line += text[i];
    } else {
      std::array<char, 8> escape{};
      (void)std::snprintf(escape.data(), escape.size(), "\\x%02x", octet);
      line += escape.data();
    }
  }
  return line;
}

std::string record_line(const EventRecord &record) {
  return time_text(record.time_ns) + " " + level_name(record.level) + " " + one_line(record.text);
}

std::string lost_line(uint64_t lost) {
  return "(" + std::to_string(lost) + (lost == 1 ? " record was" : " records were") +
         " overwritten before they could be read)";
}

/** Hands the lines of the records that are there to `print`; filtered by level. */
template <typename Print>
void read_records(EventHistoryReader &reader, const Options &options, Print print) {
  EventRecord record;
  while (reader.next(record)) {
    if (record.lost != 0) {
      print(lost_line(record.lost));
    }
    if (!options.level || record.level == *options.level) {
      print(record_line(record));
    }
  }
}

/** Prints what is there already: everything, or the last lines. */
void print_past(EventHistoryReader &reader, const Options &options) {
  if (!options.lines) {
    read_records(reader, options, print_line);
    return;
  }
  std::deque<std::string> last;
  read_records(reader, options, [&](std::string line) {
    last.push_back(std::move(line));
    if (last.size() > *options.lines) {
      last.pop_front();
    }
  });
  for (const std::string &line : last) {
    print_line(line);
  }
}

/** The history anew, once its writer has started it anew; until then the reader stays. */
void reopen(const std::string &path, EventHistoryReader &reader) {
  try {
    reader = EventHistoryReader(path);
  } catch (const std::runtime_error &) {
  }
}

void show_history(const std::string &path, const Options &options) {
  EventHistoryReader reader(path);
  print_past(reader, options);
  while (options.follow) {
    std::this_thread::sleep_for(kPollInterval);
    read_records(reader, options, print_line);
    if (reader.is_torn()) {
      reopen(path, reader);
    }
  }
}

} // namespace

void add_history(CLI::App &app, const Places &places) {
  CLI::App *command = app.add_subcommand("history", "Print the event history of the SNMP module");
  const auto options = std::make_shared<Options>();
  command->add_flag("--follow,-f", options->follow,
                    "Go on with the records that are still to come");
  command->add_option("--lines,-n", options->lines, "Only so many of the last records");
  command->add_option("--level", options->level, "Only the records of this level")
      ->transform(CLI::CheckedTransformer(kLevels));
  command->callback([options, &places] { show_history(places.history, *options); });
}

} // namespace fcsctl
