#include "common/text/octets.h"
#include "fabric_lists.h"
#include "snmpfcs.h"
#include "tools/map/map_command.h"

namespace snmpfcs {

namespace {

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

void draw(Context &context, const fabric_map::MapOptions &options) {
  Session &session = context.session();
  const Discoveries chosen = choose_vsans(session, options.vsans);
  fabric_map::write_map(options, [&](const auto &take) {
    cli::ProgressLine progress(context.progress);
    for (const auto &[vsan, discovery] : chosen) {
      progress.show("VSAN " + std::to_string(vsan));
      fabric_map::Vsan map{vsan, discovery, {}, {}};
      read_ports(session, {{vsan, vsan}}, map);
      read_platforms(session, {{vsan, vsan}}, map);
      take(map);
    }
    check_module(session);
  });
}

} // namespace

void add_map(CLI::App &app, Context &context) {
  CLI::App *const command = app.add_subcommand("map", "Draw the fabric as the agent shows it");
  const auto options = std::make_shared<fabric_map::MapOptions>();
  fabric_map::add_map_options(*command, *options, [&context, options] { draw(context, *options); });
}

} // namespace snmpfcs
