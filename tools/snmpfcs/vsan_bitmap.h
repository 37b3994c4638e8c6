/**
 * Lists of VSANs as the MIB has them: two bit strings, the most significant bit first.
 */
#pragma once

#include "mib.h"
#include "session.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace snmpfcs {

/** The half of a list, for VSANs 1 to 2048 or 2049 to 4096. */
struct VsanHalf {
  uint32_t first_vsan;
  const char *list;       ///< The object with the VSANs of a discovery.
  const char *invalidate; ///< The object that has caches forgotten.
};

inline constexpr VsanHalf kHalves[] = {
    {1, "fcsVsanDiscoveryList2k", "fcsDiscoveryInvalidateCache2k"},
    {2049, "fcsVsanDiscoveryList4k", "fcsDiscoveryInvalidateCache4k"}};

/** The bit string of those VSANs that are of this half; of no octets when none is. */
std::string bitmap_of(const std::vector<uint32_t> &vsans, const VsanHalf &half);

/** Adds the VSANs of a bit string. */
void add_vsans(std::string_view bitmap, const VsanHalf &half, std::vector<uint32_t> &vsans);

/** As 1-100,2100; the VSANs are in ascending order. */
std::string list_text(const std::vector<uint32_t> &vsans);

} // namespace snmpfcs
