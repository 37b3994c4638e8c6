/**
 * The places of cards on a screen.
 */
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace fabric_map {

/** Cards, by their number, in rows from top to bottom. */
using CardRows = std::vector<std::vector<size_t>>;

/**
 * Arranges `count` cards in about the shape of a screen: those that are linked to most others in
 * the middle, the ones that are linked to these above and below them, and so on outwards. Cards
 * that cannot be reached from the middle stand outermost.
 */
CardRows arrange_cards(size_t count, const std::vector<std::pair<size_t, size_t>> &links);

} // namespace fabric_map
