/**
 * Rows of a table, read in bulk.
 */
#pragma once

#include "session.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

namespace snmpfcs {

/** Numbers from the first to the last. */
struct Range {
  uint32_t first;
  uint32_t last;
};
/** In ascending order, without overlaps. */
using Ranges = std::vector<Range>;

/** What a number can be. */
inline const Ranges kAnyNumber = {{0, std::numeric_limits<uint32_t>::max()}};

/** The ranges of the numbers, which may be in any order and occur more than once. */
Ranges ranges_of(std::vector<uint32_t> numbers);

/** A row; a value is nothing when the row has gone, or come, while it was read. */
using TakeRow = std::function<void(const Oid &index, std::span<const Value> values)>;

/**
 * Reads columns of one table side by side.
 * \param ranges the first number of an index has to be in one of them.
 */
void walk(Session &session, const std::vector<std::string_view> &columns, const Ranges &ranges,
          const TakeRow &take);

} // namespace snmpfcs
