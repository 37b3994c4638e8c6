// SPDX-License-Identifier: BSD-3-Clause
/**
 * Value helpers: VSAN bitmaps in their two numberings, and the reason codes of FC-GS.
 *
 * A half of the VSANs is numbered by position: VSAN v is bit v-1 of the 2k half or bit v-2049 of
 * the 4k half. The role service numbers by id: VSAN v is bit v.
 */
#pragma once

#include "platform/bitmap.h"

#include <cstdint>

/** Gives `bitmap` its byte count and clears it. */
void fcs_bitmap_init(VsanBitmap *bitmap, uint32_t byte_count);

/** Sets bit p+1 of `target` for every bit p of `source`: position to id. Clears nothing first. */
void fcs_vsan_shift_up(const VsanBitmap *source, VsanBitmap *target);

/** Sets bit p-1 of `target` for every bit p of `source`: id to position. Clears nothing first. */
void fcs_vsan_shift_down(const VsanBitmap *source, VsanBitmap *target);

/**
 * Length in octets of a bitmap's OCTET STRING image without its trailing zeros, 0 to 257.
 *
 * Unless the highest set bit is the last of its byte, the image is deliberately one octet longer
 * than the bytes that hold the bits; managers have come to expect that octet.
 */
uint32_t fcs_trim_trailing_blanks(const VsanBitmap *bitmap);

/**
 * Writes a world-wide name to standard error, "%2x" an octet, separated by colons, without newline.
 * \return the result of the last print.
 */
int print_wwn(const uint8_t name[8]);

/** Maps a CT reject reason code (FC-GS) to the value of fcsRejReasonCode, in place. */
void fcs_map_reason_code(uint32_t *code);

/**
 * Maps a CT reject reason code explanation (FC-GS) to the value of fcsRejReasonCodeExpl, in place.
 * Unlike a reason code, an explanation that has no value of its own stays as it is.
 */
void fcs_map_reason_code_expl(uint32_t *explanation);
