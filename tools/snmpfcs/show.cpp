#include "common/text/octets.h"
#include "counters.h"
#include "fabric_lists.h"
#include "snmpfcs.h"
#include "tools/command_line/time_text.h"
#include "vsan_bitmap.h"

#include <chrono>
#include <iostream>
#include <map>

namespace snmpfcs {

namespace {

using Show = void (*)(Context &, const ShowOptions &);

std::string text(const Wwn &wwn) {
  return fcs::to_wwn(fcs::octets_of({wwn.data(), wwn.size()}));
}

Cell cell(std::string_view name, const Value &value) {
  return cell_of(object(name), value);
}

template <class Items> Cell wwns(const Items &items) {
  std::vector<std::string> list;
  list.reserve(items.size());
  for (const auto &name : items) {
    list.push_back(fcs::to_wwn(fcs::octets_of({name.data(), sizeof(Wwn)})));
  }
  return list;
}

Cell texts(const Lists<std::string> &lists, uint32_t list) {
  return lists.of(list);
}

/** Says on the terminal how many rows have been read. */
class Progress {
public:
  explicit Progress(const Context &context) : line_(context.progress) {}
  void operator()(const char *what, size_t rows) {
    if (rows % 256 == 0) {
      line_.show(std::string(what) + ": " + std::to_string(rows));
    }
  }

private:
  cli::ProgressLine line_;
};

/** Has `read` put rows into a report, and ends it. */
template <class Read>
void show_rows(Context &context, const ShowOptions &options, std::vector<ReportColumn> columns,
               const Read &read) {
  Report report(std::move(columns), options);
  read(context.session(), report);
  report.finish();
  check_module(context.session());
  if (report.rows() == 0) {
    std::cerr << "snmpfcs: there is nothing to show\n";
  }
}

/** When discovery was completed, in the time of this machine; nothing if it never was. */
Cell completion(const Value &completed, const Value &uptime, bool for_people) {
  if (number_of(completed) == 0 || number_of(uptime) == 0) {
    return {};
  }
  using namespace std::chrono;
  const auto ago = milliseconds(10 * (number_of(uptime) - number_of(completed)));
  const auto at = round<seconds>(system_clock::now() - ago).time_since_epoch();
  const int64_t time_ns = nanoseconds(at).count();
  return for_people ? cli::time_text(time_ns).substr(0, 19)
                    : cli::utc_time_text(time_ns).substr(0, 19) + "Z";
}

void show_vsans(Context &context, const ShowOptions &options) {
  show_rows(context, options, {{"vsan"}, {"status"}, {"completed"}},
            [&](Session &session, Report &report) {
              const Value uptime = session.get({kSysUpTime})[0];
              walk(session, {"fcsDiscoveryStatus", "fcsDiscoveryCompletedTime"},
                   ranges_of(options.vsans), [&](const Oid &index, std::span<const Value> values) {
                     report.add({static_cast<int64_t>(index[0]),
                                 cell("fcsDiscoveryStatus", values[0]),
                                 completion(values[1], uptime, options.format == Format::kTable)});
                   });
            });
}

void show_elements(Context &context, const ShowOptions &options) {
  show_rows(context, options,
            {{"vsan"},
             {"name"},
             {"logicalName"},
             {"type"},
             {"domain"},
             {"addresses"},
             {"mgmtId", false},
             {"fabricName", false},
             {"portList", false},
             {"info", false}},
            [&](Session &session, Report &report) {
              const std::vector<Element> elements =
                  read_elements(session, ranges_of(options.vsans));
              std::vector<uint32_t> lists;
              lists.reserve(elements.size());
              for (const Element &element : elements) {
                lists.push_back(element.list("fcsIeMgmtAddrListIndex"));
              }
              const Lists<std::string> addresses = read_addresses(session, ranges_of(lists));
              for (const Element &element : elements) {
                const std::vector<Value> &values = element.values;
                std::vector<Cell> row = {static_cast<int64_t>(element.vsan),
                                         text(element.wwn),
                                         cell("fcsIeLogicalName", values[4]),
                                         cell("fcsIeType", values[0]),
                                         cell("fcsIeDomainId", values[1]),
                                         texts(addresses, element.list("fcsIeMgmtAddrListIndex")),
                                         cell("fcsIeMgmtId", values[2]),
                                         cell("fcsIeFabricName", values[3]),
                                         cell("fcsIePortListIndex", values[7]),
                                         cell("fcsIeInfoList", values[6])};
                report.add(std::move(row));
              }
            });
}

/** The elements whose ports these are; nothing for other ports. */
Cell peers(const PortOwners &owners, uint32_t vsan, const std::vector<AttachedName> &names) {
  std::vector<std::string> labels;
  for (const AttachedName &name : names) {
    Wwn wwn{};
    std::copy_n(name.begin(), wwn.size(), wwn.begin());
    if (const Element *const peer = owners.of(vsan, wwn)) {
      labels.push_back(peer->label());
    }
  }
  return labels;
}

Cell address_ids(const std::vector<AttachedName> &names) {
  std::vector<std::string> ids;
  ids.reserve(names.size());
  for (const AttachedName &name : names) {
    ids.push_back(fcs::to_hex(fcs::octets_of({name.data() + 9, 3}), ""));
  }
  return ids;
}

void show_ports(Context &context, const ShowOptions &options) {
  show_rows(
      context, options,
      {{"vsan"},
       {"name"},
       {"element"},
       {"number"},
       {"type"},
       {"state"},
       {"attached"},
       {"peer"},
       {"attachedIds", false},
       {"txType", false},
       {"moduleType", false}},
      [&](Session &session, Report &report) {
        const Ranges vsans = ranges_of(options.vsans);
        Progress progress(context);
        const auto tell = [&progress](const char *what, size_t rows) { progress(what, rows); };
        const std::vector<Element> elements = read_elements(session, vsans);
        const PortOwners owners(session, elements, tell);
        const Lists<AttachedName> attached = read_attached_names(
            session, lists_in(session, "fcsPortAttachPortNameIndex", vsans), tell);
        size_t ports = 0;
        walk(session,
             {"fcsPortType", "fcsPortTxType", "fcsPortModuleType", "fcsPortPhyPortNum",
              "fcsPortAttachPortNameIndex", "fcsPortState"},
             vsans, [&](const Oid &index, std::span<const Value> values) {
               const auto vsan = static_cast<uint32_t>(index[0]);
               const Element *const owner = owners.of(vsan, wwn_of(index));
               const std::vector<AttachedName> names =
                   attached.of(static_cast<uint32_t>(number_of(values[4])));
               report.add({static_cast<int64_t>(vsan), text(wwn_of(index)),
                           owner == nullptr ? Cell() : owner->label(),
                           cell("fcsPortPhyPortNum", values[3]), cell("fcsPortType", values[0]),
                           cell("fcsPortState", values[5]), wwns(names), peers(owners, vsan, names),
                           address_ids(names), cell("fcsPortTxType", values[1]),
                           cell("fcsPortModuleType", values[2])});
               tell("ports", ++ports);
             });
      });
}

void show_platforms(Context &context, const ShowOptions &options, const Ranges &vsans,
                    std::optional<uint32_t> only) {
  show_rows(
      context, options,
      {{"vsan"},
       {"index"},
       {"name"},
       {"type"},
       {"addresses"},
       {"nodeNames"},
       {"validation"},
       {"source"},
       {"addressList", false},
       {"nodeNameList", false}},
      [&](Session &session, Report &report) {
        const Lists<std::string> addresses =
            read_addresses(session, lists_in(session, "fcsPlatformMgmtAddrListIndex", vsans));
        const Lists<Wwn> nodes =
            read_node_names(session, lists_in(session, "fcsPlatformNodeNameListIndex", vsans));
        walk(session,
             {"fcsPlatformName", "fcsPlatformType", "fcsPlatformNodeNameListIndex",
              "fcsPlatformMgmtAddrListIndex", "fcsPlatformConfigSource",
              "fcsPlatformValidationResult"},
             vsans, [&](const Oid &index, std::span<const Value> values) {
               if (only && index.back() != *only) {
                 return;
               }
               report.add({static_cast<int64_t>(index[0]), static_cast<int64_t>(index.back()),
                           cell("fcsPlatformName", values[0]), cell("fcsPlatformType", values[1]),
                           texts(addresses, static_cast<uint32_t>(number_of(values[3]))),
                           wwns(nodes.of(static_cast<uint32_t>(number_of(values[2])))),
                           cell("fcsPlatformValidationResult", values[5]),
                           cell("fcsPlatformConfigSource", values[4]), number_of(values[3]),
                           number_of(values[2])});
             });
      });
}

void show_platforms(Context &context, const ShowOptions &options) {
  show_platforms(context, options, ranges_of(options.vsans), std::nullopt);
}

void show_addresses(Context &context, const ShowOptions &options) {
  show_rows(context, options, {{"list"}, {"index"}, {"address"}, {"source"}},
            [](Session &session, Report &report) {
              walk(session, {"fcsMgmtAddr", "fcsMgmtAddrConfigSource"}, kAnyNumber,
                   [&](const Oid &index, std::span<const Value> values) {
                     report.add({static_cast<int64_t>(index[0]), static_cast<int64_t>(index.back()),
                                 cell("fcsMgmtAddr", values[0]),
                                 cell("fcsMgmtAddrConfigSource", values[1])});
                   });
            });
}

void show_node_names(Context &context, const ShowOptions &options) {
  show_rows(context, options, {{"list"}, {"name"}, {"source"}},
            [](Session &session, Report &report) {
              walk(session, {"fcsNodeNameConfigSource"}, kAnyNumber,
                   [&](const Oid &index, std::span<const Value> values) {
                     report.add({static_cast<int64_t>(index[0]), text(wwn_of(index)),
                                 cell("fcsNodeNameConfigSource", values[0])});
                   });
            });
}

void show_statistics(Context &context, const ShowOptions &options) {
  std::vector<ReportColumn> columns = {{"vsan"}};
  std::vector<std::string_view> objects;
  for (const ShownObject &counter : kCounters) {
    columns.push_back({counter.key});
    objects.push_back(counter.object);
  }
  show_rows(context, options, columns, [&](Session &session, Report &report) {
    walk(session, objects, ranges_of(options.vsans),
         [&](const Oid &index, std::span<const Value> values) {
           std::vector<Cell> row = {static_cast<int64_t>(index[0])};
           for (size_t i = 0; i < objects.size(); ++i) {
             row.push_back(cell(objects[i], values[i]));
           }
           report.add(std::move(row));
         });
  });
}

/** The scalars that sum up a fabric and how its agent is set, under the keys that they are shown
 * by. */
constexpr std::pair<std::string_view, std::string_view> kSummary[] = {
    {"elements", "fcsIeNumber"},
    {"ports", "fcsPortNumber"},
    {"platforms", "fcsPlatformNumber"},
    {"rejects", "fcsTotalRejects"},
    {"lastReject", "fcsRejReasonCode"},
    {"lastRejectExplanation", "fcsRejReasonCodeExpl"},
    {"notifyRejects", "fcsReqRejNotifyEnable"},
    {"notifyCompletion", "fcsDiscoveryCompleteNotifyEnable"},
    {"discoveryName", "fcsVsanDiscoveryName"},
    {"discoveryTimeOut", "fcsVsanDiscoveryTimeOut"},
    {"discoveryLock", "fcsVsanDiscoverySpinLock"}};

std::vector<std::pair<std::string_view, Cell>> read_summary(Session &session) {
  std::vector<Oid> instances;
  for (const auto &[key, name] : kSummary) {
    instances.push_back(session.oid_of(object(name)) + Oid{0});
  }
  for (const VsanHalf &half : kHalves) {
    instances.push_back(session.oid_of(object(half.list)) + Oid{0});
  }
  const std::vector<Value> values = session.get(instances);
  std::map<std::string_view, int64_t> vsans = {
      {"inProgress", 0}, {"completed", 0}, {"localOnly", 0}};
  int64_t total = 0;
  walk(session, {"fcsDiscoveryStatus"}, kAnyNumber,
       [&](const Oid &, std::span<const Value> status) {
         ++total;
         ++vsans[word_of(object("fcsDiscoveryStatus").terms, number_of(status[0]))
                     .value_or("other")];
       });
  std::vector<std::pair<std::string_view, Cell>> summary = {{"vsans", total}};
  summary.insert(summary.end(), vsans.begin(), vsans.end());
  for (size_t i = 0; i < std::size(kSummary); ++i) {
    summary.emplace_back(kSummary[i].first, cell(kSummary[i].second, values[i]));
  }
  std::vector<uint32_t> listed;
  for (size_t i = 0; i < std::size(kHalves); ++i) {
    if (const auto *const octets = std::get_if<std::string>(&values[std::size(kSummary) + i])) {
      add_vsans(*octets, kHalves[i], listed);
    }
  }
  summary.emplace_back("discoveryVsans", list_text(listed));
  return summary;
}

void show_summary(Context &context, const ShowOptions &options) {
  check_module(context.session());
  const auto summary = read_summary(context.session());
  const bool is_table = options.format == Format::kTable;
  std::vector<ReportColumn> columns;
  std::vector<Cell> row;
  for (const auto &[key, value] : summary) {
    columns.push_back({key});
    row.push_back(value);
  }
  Report report(is_table ? std::vector<ReportColumn>{{"what"}, {"value"}} : columns, options);
  if (is_table) {
    for (const auto &[key, value] : summary) {
      report.add({std::string(key), text_of(value)});
    }
  } else {
    report.add(row);
  }
  report.finish();
}

struct ShowCommand {
  const char *name;
  const char *description;
  Show show;
  bool by_vsan = true;
};

constexpr ShowCommand kCommands[] = {
    {"summary", "Show counts, notifications, and how the discovery is set", show_summary, false},
    {"vsans", "Show how the discovery of each VSAN stands", show_vsans},
    {"elements", "Show switches, hubs and bridges", show_elements},
    {"ports", "Show ports, with their elements and what is attached", show_ports},
    {"platforms", "Show hosts, storage and others, with addresses and node names", show_platforms},
    {"addresses", "Show the lists of management addresses", show_addresses, false},
    {"node-names", "Show the lists of node names", show_node_names, false},
    {"statistics", "Show the counters of each VSAN", show_statistics}};

} // namespace

void show_platform(Context &context, uint32_t vsan, uint32_t index) {
  show_platforms(context, ShowOptions(), {{vsan, vsan}}, index);
}

void check_module(Session &session) {
  const auto lacks = [&session](std::string_view name) {
    return !std::holds_alternative<int64_t>(session.get(object(name)));
  };
  if (lacks("fcsVsanDiscoverySpinLock")) {
    throw Failure(session.agent() + ": the agent shows no FCS module under " +
                      oid_text(session.root()) +
                      ": it has none, has it elsewhere (--root), or its access control hides it",
                  kFailed);
  }
  if (lacks("fcsIeNumber")) {
    throw Failure(session.agent() + ": the FCS service behind the agent does not answer: what is "
                                    "shown is not all",
                  kFailed);
  }
}

void add_show(CLI::App &app, Context &context) {
  for (const ShowCommand &each : kCommands) {
    CLI::App *const command = app.add_subcommand(each.name, each.description);
    const auto options = std::make_shared<ShowOptions>();
    if (each.by_vsan) {
      cli::add_vsan_option(*command, options->vsans, "Only these VSANs, such as 1-100,2100");
    }
    add_where_option(*command, *options);
    add_format_option(*command, *options);
    command->callback([&context, &each, options] { each.show(context, *options); });
  }
}

} // namespace snmpfcs
