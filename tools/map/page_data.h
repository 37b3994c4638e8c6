/**
 * The data of a page, as JSON that may stand in an HTML element: it is ASCII and has no "<".
 * tools/map/page/fabric.js reads it, and tells what stands where.
 */
#pragma once

#include "fabric_model.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace fabric_map {

/** What a page tells of a VSAN before it is chosen. */
struct VsanFigures {
  uint32_t id;
  std::string discovery;
  size_t elements;
  size_t links;
  size_t platforms;
  std::vector<size_t> ports; ///< How many are in each state, in the order of kStateLooks.
};

/** Writes a VSAN; a port takes some fifty octets. */
VsanFigures write_vsan(const Vsan &vsan, std::ostream &out);

/** Writes the figures of the VSANs, and how states, elements and devices look. */
void write_fabric(const std::vector<VsanFigures> &vsans, std::ostream &out);

} // namespace fabric_map
