// SPDX-License-Identifier: BSD-3-Clause
/**
 * Bitmap operations. Position p lies in byte p / 8 and, as in SNMP's BITS, position 0 is the most
 * significant bit of its byte. Positions outside the byte count are ignored: none is ever set.
 */
#pragma once

#include <cstdint>

/** Byte count of a bitmap that holds one half of the VSANs, and of one that holds them all. */
constexpr uint32_t VSAN_HALF_BYTES = 256;
constexpr uint32_t VSAN_WHOLE_BYTES = 2 * VSAN_HALF_BYTES;

/**
 * A set of VSANs. Zero-initialised it is empty and holds nothing: set the byte count first. The
 * bytes behind the count stay zero, so that an image read one byte too far shows a zero.
 */
struct VsanBitmap {
  uint32_t byte_count; ///< VSAN_HALF_BYTES or VSAN_WHOLE_BYTES.
  uint8_t bytes[VSAN_WHOLE_BYTES];
};

/** Clears all bits. */
void bitmap_clear(VsanBitmap *bitmap);

void bitmap_set_bit(VsanBitmap *bitmap, int32_t position);
void bitmap_clear_bit(VsanBitmap *bitmap, int32_t position);

/** The lowest set position, or -1. */
int32_t bitmap_first_bit(const VsanBitmap *bitmap);

/** The lowest set position above `position` (-1: the first), or -1. */
int32_t bitmap_next_bit(const VsanBitmap *bitmap, int32_t position);

/** `target` becomes `target` or `source`; both have the same byte count. */
void bitmap_union(VsanBitmap *target, const VsanBitmap *source);

/** The bits of `source` are taken out of `target`; both have the same byte count. */
void bitmap_subtract(VsanBitmap *target, const VsanBitmap *source);

/** Nonzero when both hold the same bits; both have the same byte count. */
int bitmap_equal(const VsanBitmap *a, const VsanBitmap *b);

/** `target` becomes a copy of `source`, byte count included. */
void bitmap_copy(VsanBitmap *target, const VsanBitmap *source);
