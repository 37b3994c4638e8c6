#include "card_rows.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <iterator>
#include <set>

namespace fabric_map {

namespace {

/** How many more cards stand beside each other than above each other. */
constexpr double kBreadth = 1.6;

using Neighbours = std::vector<std::set<size_t>>;
using Cards = std::vector<size_t>;

Neighbours find_neighbours(size_t count, const std::vector<std::pair<size_t, size_t>> &links) {
  Neighbours neighbours(count);
  for (const auto &[a, b] : links) {
    if (a != b) {
      neighbours[a].insert(b);
      neighbours[b].insert(a);
    }
  }
  return neighbours;
}

/** The cards that have at least half as many neighbours as any other. */
Cards find_core(const Neighbours &neighbours) {
  size_t most = 0;
  for (const auto &of_card : neighbours) {
    most = std::max(most, of_card.size());
  }
  Cards core;
  for (size_t card = 0; card < neighbours.size(); ++card) {
    if (2 * neighbours[card].size() >= most && most != 0) {
      core.push_back(card);
    }
  }
  return core;
}

/** The core, its neighbours, theirs and so on; at last, what cannot be reached from the core. */
std::vector<Cards> find_levels(const Neighbours &neighbours) {
  std::vector<Cards> levels;
  std::vector<bool> is_placed(neighbours.size(), false);
  for (Cards level = find_core(neighbours); !level.empty();) {
    for (const size_t card : level) {
      is_placed[card] = true;
    }
    Cards next;
    for (const size_t card : level) {
      for (const size_t neighbour : neighbours[card]) {
        if (!is_placed[neighbour]) {
          is_placed[neighbour] = true;
          next.push_back(neighbour);
        }
      }
    }
    levels.push_back(std::exchange(level, std::move(next)));
  }
  Cards rest;
  for (size_t card = 0; card < is_placed.size(); ++card) {
    if (!is_placed[card]) {
      rest.push_back(card);
    }
  }
  if (levels.empty()) {
    return {rest};
  }
  levels.back().insert(levels.back().end(), rest.begin(), rest.end());
  return levels;
}

/** Cuts cards into rows of about the same length. */
CardRows cut(const Cards &cards, size_t columns) {
  const size_t count = (cards.size() + columns - 1) / columns;
  CardRows rows;
  for (size_t row = 0; row < count; ++row) {
    const auto at = [&](size_t border) {
      return cards.begin() + static_cast<std::ptrdiff_t>(cards.size() * border / count);
    };
    rows.emplace_back(at(row), at(row + 1));
  }
  return rows;
}

/** Rows from the middle outwards; short levels outside the core share a row. */
CardRows find_rows(const std::vector<Cards> &levels, size_t columns) {
  CardRows rows = cut(levels.front(), columns);
  const size_t core = rows.size();
  for (auto level = levels.begin() + 1; level != levels.end(); ++level) {
    if (rows.size() > core && rows.back().size() + level->size() <= columns) {
      rows.back().insert(rows.back().end(), level->begin(), level->end());
    } else {
      std::ranges::move(cut(*level, columns), std::back_inserter(rows));
    }
  }
  return rows;
}

/**
 * Puts rows that come from the middle outwards on the side that most of their links lead to, or on
 * the one where the last row does not stand.
 */
CardRows take_sides(const CardRows &outwards, const Neighbours &neighbours) {
  std::vector<int> sides(neighbours.size(), 0); // -1 above the middle, 1 below it.
  std::deque<Cards> rows = {outwards.front()};
  int side = -1;
  for (auto row = outwards.begin() + 1; row != outwards.end(); ++row) {
    int links = 0;
    for (const size_t card : *row) {
      for (const size_t neighbour : neighbours[card]) {
        links += sides[neighbour];
      }
    }
    side = links == 0 ? -side : links < 0 ? -1 : 1;
    rows.insert(side < 0 ? rows.begin() : rows.end(), *row);
    for (const size_t card : *row) {
      sides[card] = side;
    }
  }
  return {rows.begin(), rows.end()};
}

} // namespace

CardRows arrange_cards(size_t count, const std::vector<std::pair<size_t, size_t>> &links) {
  const auto columns =
      static_cast<size_t>(std::ceil(std::sqrt(kBreadth * static_cast<double>(count))));
  const Neighbours neighbours = find_neighbours(count, links);
  return take_sides(find_rows(find_levels(neighbours), columns), neighbours);
}

} // namespace fabric_map
