/** What tells the commits of a database apart, to be read without a lock or a system call. */
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <sqlite3.h>

namespace fcs {

/**
 * The header of a WAL index ("WAL-mode File Format" of SQLite): a count of changes, salts and
 * checksums. It has become another one when a commit returns to whoever made it, in any process.
 */
using WalHeader = std::array<uint32_t, 12>;

/**
 * That of a connection's main database, as it is now.
 * \return none for a database without a write-ahead log in shared memory: only a transaction tells
 * there what others have committed.
 */
std::optional<WalHeader> wal_header(sqlite3 *connection);

} // namespace fcs
