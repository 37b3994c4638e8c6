/**
 * The fabric as the store holds it. Where a record of the protocol says it all, it is used as is;
 * codes are those of FC-GS.
 */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <array>
#include <cstdint>
#include <string>

namespace fcs {

/** World-wide name. */
using Wwn = std::array<uint8_t, FCS_WWN_LENGTH>;

/** Limits that every row keeps. */
constexpr uint32_t kMaxVsan = 4096;
constexpr uint32_t kMaxDomainId = 239;
constexpr uint32_t kMaxTextLength = 255;
/** List, address and platform indexes are signed words in the protocol. */
constexpr uint32_t kMaxIndex = 0x7FFFFFFF;

/** A VSAN; `discovery.vsan` is its id. */
struct Vsan {
  fcs_disc_status_record discovery;
  double discovery_takes_seconds; ///< How long a discovery of this VSAN lasts.
  FcsStatsRecord statistics;
};

/** An interconnect element: a domain id of 0 stands for none, a list index of 0 for no list. */
struct Element {
  IeEntry entry;
  bool local; ///< The switch on which the agent runs; at most one in a VSAN.
};

/** A port of the element that has the port list `port_list`. */
struct Port {
  uint32_t vsan;
  Wwn name;
  uint32_t port_list;
  bool local; ///< A port of the local element.
  uint32_t type;
  uint32_t tx_type;
  uint32_t module_type;
  uint32_t physical_port;
  uint32_t attached_list; ///< Index of its attached port name list, 0 for none.
  uint32_t state;
};

/** A platform: a host, a storage subsystem and so on. */
struct Platform {
  uint32_t vsan;
  uint32_t index;
  std::string name;
  uint32_t type;
  uint32_t node_name_list;
  uint32_t mgmt_addr_list;
  bool configured; ///< Set by configuration rather than registered.
  uint32_t validation_result;
};

struct NodeName {
  uint32_t list;
  Wwn name;
  bool configured;
};

struct MgmtAddr {
  uint32_t list;
  uint32_t index;
  std::string address;
  bool configured;
};

/** How many rows the store holds. */
struct FabricTotals {
  uint32_t vsans;
  uint32_t elements;
  uint32_t ports;
  uint32_t platforms;
};

} // namespace fcs
