/**
 * VSANs and ranges of VSANs, as people write them.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace fcs {

/** VSANs from the first to the last. */
struct VsanRange {
  uint32_t first;
  uint32_t last;

  bool contains(uint32_t vsan) const { return first <= vsan && vsan <= last; }
};

/**
 * Reads a VSAN, such as 7, or a range, such as 1-100, whose ends may stand the wrong way round.
 * \return nothing when it is neither, or names a VSAN other than 1 to `highest`.
 */
std::optional<VsanRange> read_vsan_range(std::string_view text, uint32_t highest);

/** As "7", or "1 to 100". */
std::string to_text(const VsanRange &range);

} // namespace fcs
