#include "wal_header.h"

#include <algorithm>

namespace fcs {

namespace {

/** Octets that SQLite maps at once. */
constexpr int kMapped = 32 << 10;

/** The WAL index as the connection has mapped it; null when it has not. */
volatile void *wal_index(sqlite3_file &file) {
  constexpr int kWithSharedMemory = 2; // The version of the methods that have it.
  volatile void *index = nullptr;
  if (file.pMethods != nullptr && file.pMethods->iVersion >= kWithSharedMemory) {
    file.pMethods->xShmMap(&file, 0, kMapped, 0, &index);
  }
  return index;
}

} // namespace

std::optional<WalHeader> wal_header(sqlite3 *connection) {
  sqlite3_file *file = nullptr;
  if (sqlite3_file_control(connection, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK) {
    return std::nullopt;
  }
  const auto *words = static_cast<const volatile uint32_t *>(wal_index(*file));
  if (words == nullptr) {
    return std::nullopt;
  }
  WalHeader header{};
  std::copy_n(words, header.size(), header.begin());
  return header;
}

} // namespace fcs
