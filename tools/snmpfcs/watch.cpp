#include "common/program/help_text.h"
#include "common/text/octets.h"
#include "counters.h"
#include "fabric_lists.h"
#include "interrupt.h"
#include "snmpfcs.h"
#include "tools/command_line/output.h"
#include "tools/command_line/time_text.h"

#include <chrono>
#include <iostream>
#include <map>

namespace snmpfcs {

namespace {

struct Options : ShowOptions {
  uint32_t interval = 5;
  uint32_t count = 0; ///< 0 for no end.
};

std::string now_text(Format format) {
  using namespace std::chrono;
  const int64_t time_ns = nanoseconds(system_clock::now().time_since_epoch()).count();
  return format == Format::kTable ? cli::time_text(time_ns).substr(0, 19)
                                  : cli::utc_time_text(time_ns);
}

/** Has `look` look in each interval; an agent or service that is away is waited for. */
template <class Look> void watch(const Options &options, const Look &look) {
  bool is_away = false;
  auto next = std::chrono::steady_clock::now();
  for (uint32_t looks = 0; options.count == 0 || looks <= options.count;) {
    try {
      look();
      ++looks;
      if (is_away) {
        std::cerr << "snmpfcs: " << now_text(Format::kTable) << " it answers again" << std::endl;
      }
      is_away = false;
    } catch (const Failure &failure) {
      if (!is_away) {
        std::cerr << "snmpfcs: " << now_text(Format::kTable) << ' ' << failure.what() << std::endl;
      }
      is_away = true;
    }
    next =
        std::max(next + std::chrono::seconds(options.interval), std::chrono::steady_clock::now());
    if (options.count == 0 || looks <= options.count) {
      wait(std::chrono::ceil<std::chrono::milliseconds>(next - std::chrono::steady_clock::now()));
    }
  }
}

// Statistics

using Counts = std::map<uint32_t, std::array<int64_t, std::size(kCounters)>>;

struct Reading {
  std::chrono::steady_clock::time_point time;
  Counts counts;
};

Reading read_counts(Session &session, const Ranges &vsans) {
  std::vector<std::string_view> objects;
  for (const ShownObject &counter : kCounters) {
    objects.push_back(counter.object);
  }
  Reading reading{std::chrono::steady_clock::now(), {}};
  walk(session, objects, vsans, [&](const Oid &index, std::span<const Value> values) {
    std::ranges::transform(values, reading.counts[static_cast<uint32_t>(index[0])].begin(),
                           number_of);
  });
  check_module(session);
  return reading;
}

/** How often a second; nothing when the counter has begun anew. */
Cell rate(int64_t before, int64_t after, double seconds) {
  const auto more =
      static_cast<uint32_t>(after - before); // A counter goes on at 0 behind 2^32 - 1.
  return after < before && more > 0x7FFFFFFF ? Cell() : Cell(more / seconds);
}

void watch_statistics(Context &context, const Options &options) {
  const Ranges vsans = ranges_of(options.vsans);
  std::vector<ReportColumn> columns = {{"time"}, {"vsan"}};
  for (const ShownObject &counter : kCounters) {
    columns.push_back({counter.key});
  }
  std::optional<Report> report;
  std::optional<Reading> before;
  watch(options, [&] {
    Reading now = read_counts(context.session(), vsans);
    if (!report || options.format == Format::kTable) {
      report.emplace(columns, options);
    }
    const std::string time = now_text(options.format);
    for (const auto &[vsan, counts] : now.counts) {
      if (!before || !before->counts.contains(vsan)) {
        continue;
      }
      const double seconds = std::chrono::duration<double>(now.time - before->time).count();
      std::vector<Cell> row = {time, static_cast<int64_t>(vsan)};
      for (size_t i = 0; i < counts.size(); ++i) {
        row.push_back(rate(before->counts[vsan][i], counts[i], seconds));
      }
      report->add(std::move(row));
    }
    report->finish();
    before = std::move(now);
  });
}

// Ports

/** A port, and those of its columns of which changes are told. */
struct Port {
  uint32_t vsan;
  Wwn wwn;
  std::array<int32_t, 4> values;

  auto key() const {
    return std::pair(
        vsan, std::array<unsigned char, 8>(std::bit_cast<std::array<unsigned char, 8>>(wwn)));
  }
};

constexpr ShownObject kPortColumns[] = {{"state", "fcsPortState"},
                                        {"type", "fcsPortType"},
                                        {"number", "fcsPortPhyPortNum"},
                                        {"attachedList", "fcsPortAttachPortNameIndex"}};

std::vector<Port> read_ports(Session &session, const Ranges &vsans) {
  std::vector<std::string_view> objects;
  for (const ShownObject &column : kPortColumns) {
    objects.push_back(column.object);
  }
  std::vector<Port> ports;
  walk(session, objects, vsans, [&](const Oid &index, std::span<const Value> values) {
    Port port{static_cast<uint32_t>(index[0]), wwn_of(index), {}};
    std::ranges::transform(values, port.values.begin(), [](const Value &value) {
      return static_cast<int32_t>(number_of(value));
    });
    ports.push_back(port);
  });
  check_module(session);
  return ports;
}

/** Tells of changes. */
class Changes {
public:
  explicit Changes(const Options &options)
      : options_(options),
        report_({{"time"}, {"vsan"}, {"name"}, {"what"}, {"before"}, {"after"}}, options) {}

  void tell(const Port &port, std::string_view what, const Cell &before, const Cell &after) {
    const std::string wwn = fcs::to_wwn(fcs::octets_of({port.wwn.data(), port.wwn.size()}));
    report_.add(
        {now_text(options_.format), int64_t{port.vsan}, wwn, std::string(what), before, after});
  }

  /** What differs between two readings, which are both in the order of the table. */
  void compare(const std::vector<Port> &before, const std::vector<Port> &after) {
    auto old = before.begin();
    for (const Port &port : after) {
      for (; old != before.end() && old->key() < port.key(); ++old) {
        tell(*old, "gone", {}, {});
      }
      if (old == before.end() || port.key() < old->key()) {
        tell(port, "new", {}, cell_of(object("fcsPortState"), Value(int64_t{port.values[0]})));
        continue;
      }
      for (size_t i = 0; i < port.values.size(); ++i) {
        if (old->values[i] != port.values[i]) {
          const Object &column = object(kPortColumns[i].object);
          tell(port, kPortColumns[i].key, cell_of(column, Value(int64_t{old->values[i]})),
               cell_of(column, Value(int64_t{port.values[i]})));
        }
      }
      ++old;
    }
    for (; old != before.end(); ++old) {
      tell(*old, "gone", {}, {});
    }
    report_.finish();
  }

private:
  const Options &options_;
  Report report_;
};

void watch_ports(Context &context, const Options &options) {
  const Ranges vsans = ranges_of(options.vsans);
  std::optional<std::vector<Port>> before;
  Changes changes(options);
  watch(options, [&] {
    std::vector<Port> now = read_ports(context.session(), vsans);
    if (before) {
      changes.compare(*before, now);
    }
    before = std::move(now);
  });
}

void add_command(CLI::App &watch, Context &context, const char *name, const char *description,
                 void (*run)(Context &, const Options &)) {
  CLI::App *const command = watch.add_subcommand(name, description);
  const auto options = std::make_shared<Options>();
  cli::add_vsan_option(*command, options->vsans, "Only these VSANs, such as 1-100,2100");
  add_format_option(*command, *options);
  add_where_option(*command, *options);
  command->add_option("--interval", options->interval, "Seconds from look to look")
      ->check(cli::between(1, 86400));
  command->add_option("--count", options->count, "Intervals after which to end, 0 for never");
  command->callback([&context, options, run] { run(context, *options); });
}

} // namespace

void add_watch(CLI::App &app, Context &context) {
  CLI::App *const command = app.add_subcommand(
      "watch", "Show what changes, until interrupted; an agent that is away is waited for");
  command->require_subcommand(1);
  add_command(*command, context, "statistics", "Show how often a second things are counted",
              watch_statistics);
  add_command(*command, context, "ports",
              "Show ports whose state, type, number or attached list changes, that come or go",
              watch_ports);
}

} // namespace snmpfcs
