#include "row_index_release.h"

#include <cstdlib>
#include <map>
#include <new>

namespace {

struct KeyOrder {
  RowIndexCompare *compare;
  bool operator()(const void *a, const void *b) const { return compare(a, b) > 0; }
};

} // namespace

struct RowIndex {
  std::map<const void *, void *, KeyOrder> rows;
};

int row_index_create(RowIndex **store, int /*options*/, int /*unique*/, RowIndexCompare *compare,
                     int /*sorted*/) {
  *store = new (std::nothrow) RowIndex{decltype(RowIndex::rows)(KeyOrder{compare})};
  return *store == nullptr ? 0 : ROW_INDEX_CREATED;
}

void *row_index_find(RowIndex *store, const void *key, int /*options*/) {
  const auto row = store->rows.find(key);
  return row == store->rows.end() ? nullptr : row->second;
}

void *row_index_add(RowIndex *store, void *element, const void *key) {
  try {
    return store->rows.emplace(key, element).second ? element : nullptr;
  } catch (const std::bad_alloc &) {
    return nullptr;
  }
}

void *row_index_remove(RowIndex *store, const void *key) {
  const auto row = store->rows.find(key);
  if (row == store->rows.end()) {
    return nullptr;
  }
  void *element = row->second;
  store->rows.erase(row);
  return element;
}

void row_index_destroy(RowIndex *store) {
  delete store;
}

void row_index_release(RowIndex *store) {
  if (store != nullptr) {
    for (const auto &[key, row] : store->rows) {
      free(row);
    }
    row_index_destroy(store);
  }
}
