#include "map_source.h"

#include "service/fabric/fabric_terms.h"

namespace fcsctl {

namespace {

std::string word_or_code(fcs::Terms terms, uint32_t code, const char *what) {
  const auto word = fcs::word_of(terms, code);
  return word ? std::string(*word) : what + std::to_string(code);
}

fabric_map::Port read_port(fcs::FabricSource &fabric, const fcs::Port &port) {
  fabric_map::Port read{fcs::to_wwn(port.name),
                        port.physical_port,
                        word_or_code(fcs::kPortTypes, port.type, "type "),
                        word_or_code(fcs::kPortStates, port.state, "state "),
                        {}};
  if (port.attached_list_index != 0) {
    fabric.attached_names(port.attached_list_index, [&read](const fcs::Octets &name) {
      read.attached.push_back(fcs::to_wwn(name.first(FCS_WWN_LENGTH)));
    });
  }
  return read;
}

fabric_map::Element read_element(const fcs::Element &element) {
  const fcs::Octets name(element.logical_name, element.logical_name_length);
  return {fcs::to_wwn(element.name),
          std::string(fcs::text_of(name)),
          word_or_code(fcs::kElementTypes, element.type, "type "),
          element.domain_id,
          element.local,
          {}};
}

void read_elements(fcs::FabricSource &fabric, fabric_map::Vsan &vsan) {
  std::vector<uint32_t> port_lists;
  fabric.elements(vsan.id, [&](const fcs::Element &element) {
    vsan.elements.push_back(read_element(element));
    port_lists.push_back(element.port_list_index);
  });
  for (size_t i = 0; i < port_lists.size(); ++i) {
    if (port_lists[i] != 0) {
      fabric.ports(port_lists[i], [&](const fcs::Port &port) {
        vsan.elements[i].ports.push_back(read_port(fabric, port));
      });
    }
  }
}

void read_platforms(fcs::FabricSource &fabric, fabric_map::Vsan &vsan) {
  std::vector<uint32_t> name_lists;
  fabric.platforms(vsan.id, [&](const PlatformEntry &platform) {
    vsan.platforms.push_back(
        {std::string(fcs::text_of(fcs::Octets(platform.name, platform.name_length))),
         word_or_code(fcs::kPlatformTypes, platform.type, "type "),
         {}});
    name_lists.push_back(platform.node_name_list_index);
  });
  for (size_t i = 0; i < name_lists.size(); ++i) {
    if (name_lists[i] != 0) {
      fabric.node_names(name_lists[i], [&](const NodeNameEntry &name) {
        vsan.platforms[i].node_wwns.push_back(fcs::to_wwn(name.name));
      });
    }
  }
}

} // namespace

fabric_map::Vsan read_for_map(fcs::FabricSource &fabric, const fcs::Vsan &vsan) {
  fabric_map::Vsan read;
  read.id = vsan.discovery.vsan;
  read.discovery = word_or_code(fcs::kDiscoveryStatuses,
                                static_cast<uint32_t>(vsan.discovery.status), "status ");
  read_elements(fabric, read);
  read_platforms(fabric, read);
  return read;
}

} // namespace fcsctl
