/**
 * Which VSANs are of use to a request: its user's role may hide the others, and the rows of those
 * need not travel.
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace ipc_wire {

/** The VSANs from `first` to `last`; both are 0 where there is no range. */
struct VsanRange {
  uint16_t first;
  uint16_t last;
};

/** The range of a role that shows no VSAN, or none any more. */
constexpr VsanRange kNoVsan = {UINT16_MAX, UINT16_MAX};

/** The first ranges of the VSANs that a role shows, in ascending order; without any, it shows all.
 *  Of what lies behind the last range nothing is known. */
struct ShownVsans {
  VsanRange ranges[8];

  constexpr bool are_all() const { return ranges[0].last == 0; }

  /** How many ranges there are. */
  constexpr uint32_t count() const {
    return static_cast<uint32_t>(std::count_if(std::begin(ranges), std::end(ranges),
                                               [](VsanRange r) { return r.last != 0; }));
  }

  constexpr bool contain(uint32_t vsan) const {
    return are_all() || std::any_of(std::begin(ranges), std::end(ranges), [vsan](VsanRange range) {
             return range.first <= vsan && vsan <= range.last;
           });
  }

  /** The first VSAN above one that is hidden; 0 when none is known. */
  constexpr uint32_t next(uint32_t hidden) const {
    const auto *range = std::find_if(std::begin(ranges), std::end(ranges),
                                     [hidden](VsanRange next) { return next.first > hidden; });
    return range == std::end(ranges) ? 0 : range->first;
  }
};
static_assert(sizeof(ShownVsans) == 32);

} // namespace ipc_wire
