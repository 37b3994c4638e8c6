/**
 * Ports as cells of a card: a number in the colour of the port's state, and what the pointer shows.
 */
#pragma once

#include "fabric_model.h"

#include <cstddef>
#include <string>
#include <vector>

namespace fabric_map {

/** Ports of an element, by their place. */
using Ports = std::vector<size_t>;

/** Name of the place on a card where the links of a port begin. */
std::string port_anchor(size_t port);

/** Ports in rows of `columns`, close to each other. */
std::string port_block(const Element &element, const Ports &ports, size_t columns,
                       const char *align);

/** Ports with anchors in one row, as far from each other as there is room. */
std::string port_edge(const Element &element, const Ports &ports);

} // namespace fabric_map
