// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_values.h"

#include <cstdio>
#include <iterator>

void fcs_bitmap_init(VsanBitmap *bitmap, uint32_t byte_count) {
  bitmap->byte_count = byte_count;
  bitmap_clear(bitmap);
}

static void shift(const VsanBitmap *source, VsanBitmap *target, int32_t distance) {
  for (int32_t bit = bitmap_first_bit(source); bit >= 0; bit = bitmap_next_bit(source, bit)) {
    bitmap_set_bit(target, bit + distance);
  }
}

void fcs_vsan_shift_up(const VsanBitmap *source, VsanBitmap *target) {
  shift(source, target, 1);
}

void fcs_vsan_shift_down(const VsanBitmap *source, VsanBitmap *target) {
  shift(source, target, -1);
}

uint32_t fcs_trim_trailing_blanks(const VsanBitmap *bitmap) {
  int32_t highest = -1;
  for (int32_t bit = bitmap_first_bit(bitmap); bit >= 0; bit = bitmap_next_bit(bitmap, bit)) {
    highest = bit;
  }
  const auto bits = static_cast<uint32_t>(highest + 1);
  return bits % 8 == 0 ? bits / 8 : bits / 8 + 2;
}

int print_wwn(const uint8_t name[8]) {
  for (int i = 0; i < 7; ++i) {
    fprintf(stderr, "%2x:", name[i]);
  }
  return fprintf(stderr, "%2x", name[7]);
}

void fcs_map_reason_code(uint32_t *code) {
  switch (*code) {
  case 7: break;
  case 9: *code = 8; break;
  case 11: *code = 9; break;
  case 255: *code = 10; break;
  default: ++*code; break;
  }
}

void fcs_map_reason_code_expl(uint32_t *explanation) {
  // The value of an explanation is its place in this list, counted from 1.
  static constexpr uint32_t kExplanations[] = {0x00, 0x01, 0x10, 0x11, 0x12, 0x13, 0x14,
                                               0x15, 0x16, 0x17, 0x30, 0x31, 0x32, 0x34,
                                               0x36, 0x50, 0x60, 0x61, 0x62, 0x63};
  for (uint32_t i = 0; i < std::size(kExplanations); ++i) {
    if (*explanation == kExplanations[i]) {
      *explanation = i + 1;
      return;
    }
  }
}
