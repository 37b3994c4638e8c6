/**
 * The cards of a map, as Graphviz's HTML-like labels.
 */
#pragma once

#include "port_cells.h"
#include "wiring.h"

#include <set>
#include <string>
#include <vector>

namespace fabric_map {

/** Ports of an element whose links leave its card upwards or downwards. */
struct LinkedPorts {
  std::set<size_t> upper;
  std::set<size_t> lower;
};

/**
 * An element with all its ports: those that are linked on its upper and lower edge, where no link
 * has to cross anything; the others inside, beside the devices that are attached to them.
 */
std::string element_card(const Vsan &vsan, const Wiring &wiring, size_t element,
                         const LinkedPorts &linked);

/** An element with the numbers of its ports and devices. */
std::string summary_card(const Vsan &vsan, const Wiring &wiring, size_t element);

/** Platforms, by their place in the VSAN, that are attached to nothing. */
std::string idle_card(const Vsan &vsan, const std::vector<size_t> &platforms);

/** As 1 port, 2 ports. */
std::string counted(size_t number, const std::string &one);

} // namespace fabric_map
