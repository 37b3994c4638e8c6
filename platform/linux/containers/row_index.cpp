#include "row_index_host.h"

#include "platform/agent_host.h"

#include <cstdlib>
#include <map>
#include <new>
#include <string>

namespace {

std::map<std::string, size_t> rows_of_user;

/** A row, counted as its user's while it is in a container. */
class Row {
public:
  explicit Row(void *element) : element_(element), count_(&rows_of_user[agent_session_user(0)]) {
    ++*count_;
  }
  ~Row() { --*count_; }
  Row(const Row &) = delete;
  Row &operator=(const Row &) = delete;

  void *element() const { return element_; }

private:
  void *element_;
  size_t *count_;
};

struct KeyOrder {
  RowIndexCompare *compare;
  bool operator()(const void *a, const void *b) const { return compare(a, b) > 0; }
};

} // namespace

struct RowIndex {
  std::map<const void *, Row, KeyOrder> rows;
};

int row_index_create(RowIndex **store, int /*options*/, int /*unique*/, RowIndexCompare *compare,
                     int /*sorted*/) {
  *store = new (std::nothrow) RowIndex{decltype(RowIndex::rows)(KeyOrder{compare})};
  return *store == nullptr ? 0 : ROW_INDEX_CREATED;
}

void *row_index_find(RowIndex *store, const void *key, int /*options*/) {
  const auto row = store->rows.find(key);
  return row == store->rows.end() ? nullptr : row->second.element();
}

void *row_index_add(RowIndex *store, void *element, const void *key) {
  try {
    return store->rows.try_emplace(key, element).second ? element : nullptr;
  } catch (const std::bad_alloc &) {
    return nullptr;
  }
}

void *row_index_remove(RowIndex *store, const void *key) {
  const auto row = store->rows.find(key);
  if (row == store->rows.end()) {
    return nullptr;
  }
  void *element = row->second.element();
  store->rows.erase(row);
  return element;
}

void row_index_destroy(RowIndex *store) {
  delete store;
}

size_t row_index_rows_of(const char *user) {
  const auto entry = rows_of_user.find(user);
  return entry == rows_of_user.end() ? 0 : entry->second;
}

void row_index_release(RowIndex *store) {
  if (store != nullptr) {
    for (const auto &[key, row] : store->rows) {
      free(row.element());
    }
    row_index_destroy(store);
  }
}
