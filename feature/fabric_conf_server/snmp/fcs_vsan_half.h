// SPDX-License-Identifier: BSD-3-Clause
/**
 * The two halves of the VSANs: 2k holds VSANs 1 to 2048, 4k VSANs 2049 to 4096. What the module
 * does with one it does with the other; what differs between them stands here.
 */
#pragma once

#include "fcs_mib.h"
#include "frame/fcs_values.h"

struct VsanHalf {
  uint32_t first_vsan;     ///< The VSAN of bit 0.
  uint32_t offset;         ///< Of the half's first byte in a bitmap of all VSANs.
  VsanBitmap *staged;      ///< The VSAN discovery list as last written.
  VsanBitmap *outstanding; ///< VSANs on which a discovery is outstanding.
  VsanBitmap *notified;    ///< VSANs whose completion has been notified.
  VsanBitmap *invalidated; ///< VSANs of the last cache invalidation.
};

constexpr VsanHalf kHalf2k = {.first_vsan = 1,
                              .offset = 0,
                              .staged = &fcs_vsan_2k,
                              .outstanding = &fcs_vsan_total_2k,
                              .notified = &fcs_notif_2k,
                              .invalidated = &fcs_invalidate_cache_2k};
constexpr VsanHalf kHalf4k = {.first_vsan = 2049,
                              .offset = VSAN_HALF_BYTES,
                              .staged = &fcs_vsan_4k,
                              .outstanding = &fcs_vsan_total_4k,
                              .notified = &fcs_notif_4k,
                              .invalidated = &fcs_invalidate_cache_4k};

/** The half that holds a VSAN; everything above 2048 belongs to the second. */
constexpr const VsanHalf &half_of(uint32_t vsan) {
  return vsan < kHalf4k.first_vsan ? kHalf2k : kHalf4k;
}

/** The bit of a VSAN in its half; a VSAN that none has gives a bit outside of it. */
constexpr int32_t bit_of(const VsanHalf &half, uint32_t vsan) {
  return static_cast<int32_t>(vsan - half.first_vsan);
}
