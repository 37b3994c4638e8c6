#include "common/program/help_text.h"
#include "common/text/octets.h"
#include "fabric_lists.h"
#include "snmpfcs.h"
#include "tools/command_line/output.h"
#include "tools/command_line/working_directory.h"
#include "tools/map/dot_program.h"
#include "tools/map/map_dot.h"
#include "tools/map/map_page.h"

namespace snmpfcs {

namespace {

struct Options {
  cli::VsanList vsans;
  fabric_map::Detail detail = fabric_map::Detail::kPorts;
  std::string format = "dot";
  std::string output = "-";
};

/** What maps call the types of ports; the others go by their words in the MIB. */
constexpr std::pair<std::string_view, std::string_view> kPortTypes[] = {
    {"nPort", "N_Port"},   {"nlPort", "NL_Port"}, {"nxPort", "Nx_Port"}, {"fPort", "F_Port"},
    {"flPort", "FL_Port"}, {"ePort", "E_Port"},   {"bPort", "B_Port"}};

std::string word(std::string_view name, const Value &value) {
  return text_of(cell_of(object(name), value));
}

std::string port_type(const Value &value) {
  const std::string type = word("fcsPortType", value);
  const auto *const found =
      std::ranges::find(kPortTypes, type, [](const auto &pair) { return pair.first; });
  return found == std::end(kPortTypes) ? type : std::string(found->second);
}

template <class Name> std::string wwn_text(const Name &name) {
  return fcs::to_wwn(fcs::octets_of({name.data(), sizeof(Wwn)}));
}

std::string octets_in(const Value &value) {
  const auto *const octets = std::get_if<std::string>(&value);
  return octets == nullptr ? "" : *octets;
}

/** SNMP does not tell which element is the local one. */
fabric_map::Element element_of(const Element &element) {
  const auto *const domain = std::get_if<int64_t>(&element.values[1]);
  return {wwn_text(element.wwn),
          octets_in(element.values[4]),
          word("fcsIeType", element.values[0]),
          domain == nullptr ? 0 : static_cast<uint32_t>(*domain),
          false,
          {}};
}

void read_ports(Session &session, const Ranges &vsan, fabric_map::Vsan &map) {
  const std::vector<Element> elements = read_elements(session, vsan);
  std::ranges::transform(elements, std::back_inserter(map.elements), element_of);
  const auto tell = [](const char * /*what*/, size_t /*rows*/) {};
  const PortOwners owners(session, elements, tell);
  const Lists<AttachedName> attached =
      read_attached_names(session, lists_in(session, "fcsPortAttachPortNameIndex", vsan), tell);
  walk(session, {"fcsPortType", "fcsPortPhyPortNum", "fcsPortAttachPortNameIndex", "fcsPortState"},
       vsan, [&](const Oid &index, std::span<const Value> values) {
         const Element *const owner = owners.of(map.id, wwn_of(index));
         if (owner == nullptr) {
           return;
         }
         fabric_map::Port port{wwn_text(wwn_of(index)),
                               static_cast<uint32_t>(number_of(values[1])),
                               port_type(values[0]),
                               word("fcsPortState", values[3]),
                               {}};
         for (const AttachedName &name : attached.of(static_cast<uint32_t>(number_of(values[2])))) {
           port.attached.push_back(wwn_text(name));
         }
         map.elements[static_cast<size_t>(owner - elements.data())].ports.push_back(port);
       });
}

void read_platforms(Session &session, const Ranges &vsan, fabric_map::Vsan &map) {
  const Lists<Wwn> nodes =
      read_node_names(session, lists_in(session, "fcsPlatformNodeNameListIndex", vsan));
  walk(
      session, {"fcsPlatformName", "fcsPlatformType", "fcsPlatformNodeNameListIndex"}, vsan,
      [&](const Oid & /*index*/, std::span<const Value> values) {
        fabric_map::Platform platform{octets_in(values[0]), word("fcsPlatformType", values[1]), {}};
        for (const Wwn &name : nodes.of(static_cast<uint32_t>(number_of(values[2])))) {
          platform.node_wwns.push_back(wwn_text(name));
        }
        map.platforms.push_back(platform);
      });
}

using Discoveries = std::vector<std::pair<uint32_t, std::string>>;

/** The VSANs that are meant, with how their discoveries stand. */
Discoveries choose_vsans(Session &session, const cli::VsanList &wanted) {
  check_module(session);
  Discoveries chosen;
  walk(session, {"fcsDiscoveryStatus"}, ranges_of(wanted),
       [&](const Oid &index, std::span<const Value> values) {
         chosen.emplace_back(static_cast<uint32_t>(index[0]),
                             word("fcsDiscoveryStatus", values[0]));
       });
  std::vector<uint32_t> vsans;
  for (const auto &[vsan, discovery] : chosen) {
    vsans.push_back(vsan);
  }
  check_found(vsans, wanted);
  return chosen;
}

/** Has a writer of maps write one VSAN after the other, none of which is kept. */
template <typename Writer>
void write_map(Writer writer, Context &context, const Discoveries &chosen) {
  Session &session = context.session();
  cli::ProgressLine progress(context.progress);
  for (const auto &[vsan, discovery] : chosen) {
    progress.show("VSAN " + std::to_string(vsan));
    fabric_map::Vsan map{vsan, discovery, {}, {}};
    read_ports(session, {{vsan, vsan}}, map);
    read_platforms(session, {{vsan, vsan}}, map);
    writer.add(map);
  }
  check_module(session);
  writer.finish();
}

void draw(Context &context, const Options &options) {
  const Discoveries chosen = choose_vsans(context.session(), options.vsans);
  if (options.format == "html") {
    cli::write_output(options.output, [&](std::ostream &out) {
      write_map(fabric_map::PageWriter(out), context, chosen);
    });
    return;
  }
  const auto write_graph = [&](std::ostream &out) {
    write_map(fabric_map::DotWriter(out, options.detail), context, chosen);
  };
  if (options.format == "dot") {
    cli::write_output(options.output, write_graph);
    return;
  }
  const cli::WorkingDirectory directory;
  const std::string graph = directory.path("fabric.dot");
  cli::write_output(graph, write_graph);
  cli::write_output(options.output,
                    [&](std::ostream &out) { fabric_map::run_dot(graph, options.format, out); });
}

} // namespace

void add_map(CLI::App &app, Context &context) {
  CLI::App *const command = app.add_subcommand("map", "Draw the fabric as the agent shows it");
  const auto options = std::make_shared<Options>();
  cli::add_vsan_option(*command, options->vsans, "Only these VSANs, such as 1-100,2100");
  command->add_flag_callback(
      "--summary", [options] { options->detail = fabric_map::Detail::kSummary; },
      "Only the elements of each VSAN, with their links bundled");
  command
      ->add_option("--format", options->format,
                   "What to write: a graph, a drawing of it, or a page for a browser")
      ->check(cli::one_of({"dot", "svg", "html"}))
      ->type_name("FORMAT");
  command->add_option("--output", options->output, "File to write; - for standard output")
      ->type_name("PATH");
  command->callback([&context, options] {
    if (options->format == "html" && options->detail == fabric_map::Detail::kSummary) {
      throw CLI::ValidationError("--summary", "not with --format html: a page shows the links "
                                              "bundled, and ports when they are asked for");
    }
    draw(context, *options);
  });
}

} // namespace snmpfcs
