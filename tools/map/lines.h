/**
 * The lines that a map draws between elements.
 */
#pragma once

#include "look.h"
#include "wiring.h"

#include <string>
#include <vector>

namespace fabric_map {

/** A line between two elements, or two of their ports. */
struct Line {
  PortPlace a;
  PortPlace b;
  const Look *state;
  std::string text;
  std::string tip; ///< What the pointer shows.
};

/** One for each link. */
std::vector<Line> link_lines(const Vsan &vsan, const Wiring &wiring);

/**
 * One for all links between two elements, in the worst state of them all; its text says how many
 * are in which state. The ports of its ends say nothing.
 */
std::vector<Line> bundle_lines(const Vsan &vsan, const Wiring &wiring);

} // namespace fabric_map
