/**
 * One VSAN of a generated fabric.
 */
#pragma once

#include "fabric_generator.h"
#include "service/fabric/fabric.h"

#include <array>
#include <map>
#include <vector>

namespace fcsctl {

using AttachedName = std::array<uint8_t, FCS_ATTACHED_NAME_LENGTH>;

/** Everything of a VSAN, in the order of its keys. */
struct GeneratedVsan {
  struct Switch {
    fcs::Element element;
    std::vector<fcs::Port> ports;
  };

  fcs::Vsan vsan;
  std::vector<Switch> switches;
  std::vector<PlatformEntry> platforms;
  /** By list index. */
  std::map<uint32_t, std::vector<AttachedName>> attached;
  std::map<uint32_t, std::vector<NodeNameEntry>> node_names;
  std::map<uint32_t, std::vector<MgmtAddrEntry>> mgmt_addrs;
};

/** How many list indexes each VSAN has: the first VSAN has 1 and up, and so on. */
uint32_t port_lists_per_vsan(const FabricShape &shape);
uint32_t attached_lists_per_vsan(const FabricShape &shape);
uint32_t node_name_lists_per_vsan(const FabricShape &shape);
uint32_t mgmt_addr_lists_per_vsan(const FabricShape &shape);

GeneratedVsan generate_vsan(const FabricShape &shape, uint32_t id);

} // namespace fcsctl
