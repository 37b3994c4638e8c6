/** Bitmaps and the keyed container, of whatever platform this is linked with. */
#include "platform/bitmap.h"
#include "platform/row_index.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <set>

/** Each platform has it for itself: destroys a container, and frees the rows left in it. */
void row_index_release(RowIndex *store);

namespace {

TEST(Bitmap, PositionsOutsideAreIgnored) {
  for (const int octet : {0x00, 0xFF}) {
    VsanBitmap bitmap{256, {}};
    memset(bitmap.bytes, octet, 256);
    const VsanBitmap before = bitmap;
    for (const int32_t position : {-1, INT32_MIN, 2048, 4095, 4096, INT32_MAX}) {
      octet == 0 ? bitmap_set_bit(&bitmap, position) : bitmap_clear_bit(&bitmap, position);
      EXPECT_EQ(memcmp(&bitmap, &before, sizeof(bitmap)), 0) << position;
      EXPECT_EQ(bitmap_next_bit(&bitmap, std::max(position, 2047)), -1);
    }
  }
}

TEST(Bitmap, AgreesWithASetOfPositions) {
  using Set = std::set<int32_t>;
  std::mt19937 random(1);
  const auto positions = [](const VsanBitmap &bitmap) {
    Set set;
    for (int32_t p = bitmap_first_bit(&bitmap); p >= 0; p = bitmap_next_bit(&bitmap, p)) {
      EXPECT_TRUE(set.insert(p).second);
      EXPECT_NE(bitmap.bytes[p / 8] & 0x80 >> p % 8, 0) << "the first is the most significant";
    }
    return set;
  };
  for (const uint32_t byte_count : {1U, 255U, 256U, 512U}) {
    VsanBitmap a{byte_count, {}};
    VsanBitmap b{byte_count, {}};
    Set in_a;
    Set in_b = {0}; // One at least.
    bitmap_set_bit(&b, 0);
    for (uint32_t i = 0; i < byte_count; ++i) {
      const auto position = static_cast<int32_t>(random() % (size_t{byte_count} * 8));
      (i % 2 == 0 ? in_a : in_b).insert(position);
      bitmap_set_bit(i % 2 == 0 ? &a : &b, position);
    }
    VsanBitmap both{};
    bitmap_copy(&both, &a);
    EXPECT_NE(bitmap_equal(&both, &a), 0);
    EXPECT_EQ(positions(both), in_a);
    in_a.insert(in_b.begin(), in_b.end());
    bitmap_union(&both, &b);
    EXPECT_EQ(positions(both), in_a);
    bitmap_subtract(&both, &b);
    std::erase_if(in_a, [&](int32_t position) { return in_b.contains(position); });
    EXPECT_EQ(positions(both), in_a);
    EXPECT_EQ(bitmap_equal(&both, &b), 0);
    bitmap_clear(&both);
    EXPECT_EQ(bitmap_first_bit(&both), -1);
  }
}

/** Ascending by the reversed sign that the module's comparisons have. */
int reversed_order(const void *a, const void *b) {
  const int32_t left = *static_cast<const int32_t *>(a);
  const int32_t right = *static_cast<const int32_t *>(b);
  return left == right ? 0 : (left < right ? 1 : -1);
}

TEST(RowIndexContainer, HoldsOneElementForEachKeyAndFreesNone) {
  RowIndex *store = nullptr;
  ASSERT_EQ(row_index_create(&store, 0, 1, reversed_order, 1), ROW_INDEX_CREATED);
  int32_t rows[100];
  for (int32_t i = 0; i < 100; ++i) {
    rows[i] = (i * 37) % 100 - 50;
    EXPECT_EQ(row_index_add(store, &rows[i], &rows[i]), &rows[i]);
  }
  int32_t again = 7;
  EXPECT_EQ(row_index_add(store, &again, &again), nullptr);
  for (int32_t &row : rows) {
    const int32_t key = row;
    EXPECT_EQ(row_index_find(store, &key, 0), &row);
    EXPECT_EQ(row_index_remove(store, &key), &row);
    EXPECT_EQ(row_index_remove(store, &key), nullptr);
    EXPECT_EQ(row_index_find(store, &key, 0), nullptr);
  }
  row_index_destroy(store);
  row_index_destroy(nullptr);

  // What a released store still holds goes with it: the leak checker tells.
  ASSERT_EQ(row_index_create(&store, 0, 1, reversed_order, 1), ROW_INDEX_CREATED);
  void *left = calloc(1, sizeof(int32_t));
  EXPECT_EQ(row_index_add(store, left, left), left);
  row_index_release(store);
  row_index_release(nullptr);
}

} // namespace
