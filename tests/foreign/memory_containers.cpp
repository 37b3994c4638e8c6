/** Bitmaps and the keyed container. */
#include "memory_platform.h"

#include <algorithm>
#include <cstring>

// ---- Bitmaps

static uint8_t *octet_of(VsanBitmap *bitmap, int32_t position) {
  const bool inside = position >= 0 && static_cast<uint32_t>(position) / 8 < bitmap->byte_count;
  return inside ? &bitmap->bytes[position / 8] : nullptr;
}

static uint8_t mask_of(int32_t position) {
  return static_cast<uint8_t>(0x80U >> (position % 8));
}

void bitmap_clear(VsanBitmap *bitmap) {
  *bitmap = {bitmap->byte_count, {}};
}

void bitmap_set_bit(VsanBitmap *bitmap, int32_t position) {
  if (uint8_t *octet = octet_of(bitmap, position); octet != nullptr) {
    *octet |= mask_of(position);
  }
}

void bitmap_clear_bit(VsanBitmap *bitmap, int32_t position) {
  if (uint8_t *octet = octet_of(bitmap, position); octet != nullptr) {
    *octet &= static_cast<uint8_t>(~mask_of(position));
  }
}

int32_t bitmap_first_bit(const VsanBitmap *bitmap) {
  return bitmap_next_bit(bitmap, -1);
}

int32_t bitmap_next_bit(const VsanBitmap *bitmap, int32_t position) {
  const auto end = static_cast<int32_t>(bitmap->byte_count * 8);
  while (position < end - 1) {
    ++position;
    if ((bitmap->bytes[position / 8] & mask_of(position)) != 0) {
      return position;
    }
  }
  return -1;
}

void bitmap_union(VsanBitmap *target, const VsanBitmap *source) {
  for (uint32_t i = 0; i < target->byte_count; ++i) {
    target->bytes[i] |= source->bytes[i];
  }
}

void bitmap_subtract(VsanBitmap *target, const VsanBitmap *source) {
  for (uint32_t i = 0; i < target->byte_count; ++i) {
    target->bytes[i] &= static_cast<uint8_t>(~source->bytes[i]);
  }
}

int bitmap_equal(const VsanBitmap *a, const VsanBitmap *b) {
  return std::equal(a->bytes, a->bytes + a->byte_count, b->bytes) ? 1 : 0;
}

void bitmap_copy(VsanBitmap *target, const VsanBitmap *source) {
  *target = *source;
}

// ---- The container

struct RowIndex {
  std::map<const void *, void *, std::function<bool(const void *, const void *)>> rows;
  int number;
};

int row_index_create(RowIndex **store, int options, int unique, RowIndexCompare *compare,
                     int sorted) {
  const int number = ++platform.stores_created;
  tell("store", number, "create", options, unique, sorted);
  const auto in_order = [compare](const void *a, const void *b) { return compare(a, b) > 0; };
  const bool fails = (platform.failing_stores >> number & 1) != 0;
  *store = fails ? nullptr : new RowIndex{decltype(RowIndex::rows)(in_order), number};
  return fails ? 0 : ROW_INDEX_CREATED;
}

void *row_index_find(RowIndex *store, const void *key, int /*options*/) {
  const auto row = store->rows.find(key);
  return row == store->rows.end() ? nullptr : row->second;
}

void *row_index_add(RowIndex *store, void *element, const void *key) {
  if (platform.failing_adds != 0) {
    platform.not_taken.emplace_back(element, free);
    return nullptr;
  }
  return store->rows.emplace(key, element).second ? element : nullptr;
}

void *row_index_remove(RowIndex *store, const void *key) {
  const auto row = store->rows.extract(key);
  return row.empty() ? nullptr : row.mapped();
}

void row_index_destroy(RowIndex *store) {
  tell("store", store == nullptr ? 0 : store->number, "destroy");
  delete store;
}

void row_index_each(const RowIndex *store, const std::function<void(void *row)> &visit) {
  for (const auto &[key, row] : store->rows) {
    visit(row);
  }
}

void row_index_release(RowIndex *store) {
  if (store != nullptr) {
    row_index_each(store, free);
    delete store;
  }
}
