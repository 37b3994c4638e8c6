/**
 * The fabric as the store holds it. Where a record of the protocol says it all, it is used as is;
 * codes are those of FC-GS.
 */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <array>
#include <cstdint>

namespace fcs {

/** World-wide name. */
using Wwn = std::array<uint8_t, FCS_WWN_LENGTH>;

/** Limits that every row keeps. */
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
struct Element : IeEntry {
  bool local; ///< The switch on which the agent runs; at most one in a VSAN.
};

/** A port; the index of its attached port name list is 0 for none. */
struct Port : FcsPortRecord {
  uint32_t port_list; ///< Of its element.
  bool local;         ///< A port of the local element.
};

/** A name of an attached port name list, with its port's VSAN and whether that is local. */
struct AttachedName : FcsAttachPortRecord {
  uint32_t vsan;
  bool local;
};

/** How many rows the store holds. */
struct FabricTotals {
  uint32_t vsans;
  uint32_t elements;
  uint32_t ports;
  uint32_t platforms;
};

} // namespace fcs
