#include "command_line/output.h"
#include "command_line/time_text.h"
#include "command_line/vsan_list.h"
#include "common/history/event_history.h"
#include "common/program/help_text.h"
#include "fcsctl.h"
#include "platform/trace.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <deque>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace fcsctl {

namespace {

using Json = nlohmann::ordered_json;

/** A level of records, by the name that the command line and the output give it. */
struct Level {
  uint32_t number;
  const char *name;
};

constexpr Level kLevels[] = {{FCS_TRACE_EVENT, "event"}, {FCS_TRACE_DETAIL, "detail"}};

constexpr std::chrono::milliseconds kPollInterval{100};
/** How many of the records that are there already go before those that are still to come. */
constexpr size_t kLinesToFollow = 10;

struct Options {
  bool follow = false;
  std::optional<size_t> lines;
  std::string level;
  cli::VsanList vsans;
  bool as_json = false;
};

std::string level_name(uint32_t level) {
  const auto *found = std::ranges::find(kLevels, level, &Level::number);
  return found == std::end(kLevels) ? std::to_string(level) : found->name;
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

std::string record_line(const EventRecord &record, const Options &options) {
  if (options.as_json) {
    const Json line = {{"time", cli::utc_time_text(record.time_ns)},
                       {"level", level_name(record.level)},
                       {"text", record.text.substr(0, record.text.find_last_not_of('\n') + 1)}};
    return line.dump(-1, ' ', false, Json::error_handler_t::replace);
  }
  return cli::time_text(record.time_ns) + " " + level_name(record.level) + " " +
         one_line(record.text);
}

std::string lost_line(uint64_t lost, const Options &options) {
  if (options.as_json) {
    return Json{{"lost", lost}}.dump();
  }
  return "(" + std::to_string(lost) + (lost == 1 ? " record was" : " records were") +
         " overwritten before they could be read)";
}

/** The VSAN that a record's text names, as in "vsan index 7", "VSAN is 7" and "vsan 7". */
std::optional<uint32_t> vsan_of(const std::string &text) {
  constexpr std::string_view kName = "vsan ";
  for (const char *at = text.c_str(); (at = strcasestr(at, kName.data())) != nullptr;) {
    at += kName.size();
    uint32_t vsan = 0;
    if (sscanf(at, "%4" SCNu32, &vsan) == 1 || sscanf(at, "index %4" SCNu32, &vsan) == 1 ||
        sscanf(at, "is %4" SCNu32, &vsan) == 1) {
      return vsan;
    }
  }
  return std::nullopt;
}

bool is_wanted(const EventRecord &record, const Options &options) {
  if (!options.level.empty() && level_name(record.level) != options.level) {
    return false;
  }
  if (options.vsans.ranges().empty()) {
    return true;
  }
  const auto vsan = vsan_of(record.text);
  return vsan && options.vsans.has(*vsan);
}

/** Hands the lines of the wanted records that are there to `print`. */
template <typename Print>
void read_records(EventHistoryReader &reader, const Options &options, Print print) {
  EventRecord record;
  while (reader.next(record)) {
    if (record.lost != 0) {
      print(lost_line(record.lost, options));
    }
    if (is_wanted(record, options)) {
      print(record_line(record, options));
    }
  }
}

/** Prints what is there already: everything, or the last lines. */
void print_past(EventHistoryReader &reader, const Options &options) {
  if (!options.lines && !options.follow) {
    read_records(reader, options, cli::print_line);
    return;
  }
  const size_t lines = options.lines.value_or(kLinesToFollow);
  std::deque<std::string> last;
  read_records(reader, options, [&](std::string line) {
    last.push_back(std::move(line));
    if (last.size() > lines) {
      last.pop_front();
    }
  });
  for (const std::string &line : last) {
    cli::print_line(line);
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
    read_records(reader, options, cli::print_line);
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
  command->add_option("--lines,-n", options->lines,
                      "How many of the last records to begin with (default " +
                          std::to_string(kLinesToFollow) + " with --follow, otherwise all)");
  command->add_option("--level", options->level, "Only the records of this level")
      ->check(cli::one_of({kLevels[0].name, kLevels[1].name}))
      ->type_name("LEVEL");
  cli::add_vsan_option(*command, options->vsans,
                       "Only the records that name one of these VSANs, such as 1-100,2100");
  command->add_flag("--json", options->as_json, "Print each record as a line of JSON");
  command->callback([options, &places] { show_history(places.history, *options); });
}

} // namespace fcsctl
