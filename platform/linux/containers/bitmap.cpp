#include "platform/bitmap.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

bool holds(const VsanBitmap *bitmap, int32_t position) {
  return position >= 0 && static_cast<uint32_t>(position) / 8 < bitmap->byte_count;
}

uint8_t mask(int32_t position) {
  return static_cast<uint8_t>(0x80U >> (position % 8));
}

} // namespace

void bitmap_clear(VsanBitmap *bitmap) {
  memset(bitmap->bytes, 0, sizeof(bitmap->bytes));
}

void bitmap_set_bit(VsanBitmap *bitmap, int32_t position) {
  if (holds(bitmap, position)) {
    bitmap->bytes[position / 8] |= mask(position);
  }
}

void bitmap_clear_bit(VsanBitmap *bitmap, int32_t position) {
  if (holds(bitmap, position)) {
    bitmap->bytes[position / 8] &= static_cast<uint8_t>(~mask(position));
  }
}

int32_t bitmap_first_bit(const VsanBitmap *bitmap) {
  return bitmap_next_bit(bitmap, -1);
}

int32_t bitmap_next_bit(const VsanBitmap *bitmap, int32_t position) {
  const uint32_t start = static_cast<uint32_t>(std::max(position, -1)) + 1;
  uint32_t byte = start / 8;
  if (byte >= bitmap->byte_count) {
    return -1;
  }
  auto rest = static_cast<uint8_t>(bitmap->bytes[byte] & (0xFFU >> (start % 8)));
  while (rest == 0) {
    if (++byte == bitmap->byte_count) {
      return -1;
    }
    rest = bitmap->bytes[byte];
  }
  return static_cast<int32_t>(byte * 8) + std::countl_zero(rest);
}

void bitmap_union(VsanBitmap *target, const VsanBitmap *source) {
  std::transform(source->bytes, source->bytes + target->byte_count, target->bytes, target->bytes,
                 [](uint8_t from, uint8_t to) { return static_cast<uint8_t>(to | from); });
}

void bitmap_subtract(VsanBitmap *target, const VsanBitmap *source) {
  std::transform(source->bytes, source->bytes + target->byte_count, target->bytes, target->bytes,
                 [](uint8_t from, uint8_t to) { return static_cast<uint8_t>(to & ~from); });
}

int bitmap_equal(const VsanBitmap *a, const VsanBitmap *b) {
  return memcmp(a->bytes, b->bytes, a->byte_count) == 0 ? 1 : 0;
}

void bitmap_copy(VsanBitmap *target, const VsanBitmap *source) {
  *target = *source;
}
