#include "sqlite.h"

#include <algorithm>
#include <cstring>
#include <system_error>

namespace fcs {

namespace {

void check(bool in_place) {
  if (!in_place) {
    throw SqliteError(SQLITE_READONLY_DBMOVED, "it was deleted or replaced while it was in use");
  }
}

[[noreturn]] void fail(sqlite3 *handle, int code) {
  std::string text = handle == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(handle);
  const int system_error = handle == nullptr ? 0 : sqlite3_system_errno(handle);
  const int primary = code & 0xFF;
  if (system_error != 0 && (primary == SQLITE_CANTOPEN || primary == SQLITE_IOERR)) {
    text += std::string(": ") + std::strerror(system_error);
  }
  throw SqliteError(code, text);
}

} // namespace

Database::Database(const std::string &path, bool to_read) {
  sqlite3 *handle = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  const int code = sqlite3_open_v2(path.c_str(), &handle, flags, nullptr);
  handle_.reset(handle);
  if (code != SQLITE_OK) {
    fcs::fail(handle, code);
  }
  if (is_read_only() && !to_read) {
    throw SqliteError(SQLITE_READONLY, "it may only be read");
  }
}

void Database::wait_for_others(std::chrono::milliseconds patience) {
  patience_ = patience;
  // SQLite's own handler sleeps longer and longer, and may miss every moment that a busy service
  // leaves between two transactions.
  const auto wait = [](void *wanted, int waited) {
    if (waited >=
        *static_cast<std::chrono::milliseconds *>(wanted) / std::chrono::milliseconds(1)) {
      return 0;
    }
    sqlite3_sleep(1);
    return 1;
  };
  sqlite3_busy_handler(handle(), wait, &patience_);
}

void Database::watch(const std::vector<std::string> &paths) {
  watched_.clear();
  for (const std::string &path : paths) {
    try {
      watched_.emplace_back(path);
    } catch (const std::system_error &) { // Not every file system has a log for SQLite.
    }
  }
}

bool Database::in_place() const {
  return std::ranges::all_of(watched_, &FileIdentity::in_place);
}

void Database::check_in_place() const {
  check(in_place());
}

void Database::check_first_in_place() const {
  check(watched_.empty() || watched_.front().in_place());
}

void Database::fail() const {
  fcs::fail(handle(), sqlite3_extended_errcode(handle()));
}

void Database::execute(const char *sql) {
  if (sqlite3_exec(handle(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
    fail();
  }
}

WriteTransaction::WriteTransaction(Database &database) : database_(database) {
  database_.check_in_place();
  database_.execute("BEGIN IMMEDIATE");
}

WriteTransaction::~WriteTransaction() {
  if (open_) {
    sqlite3_exec(database_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

void WriteTransaction::commit() {
  database_.execute("COMMIT");
  open_ = false;
  database_.check_in_place();
}

ReadTransaction::ReadTransaction(Database &database)
    : database_(database), is_own_(sqlite3_get_autocommit(database.handle()) != 0) {
  if (is_own_) {
    database_.execute("BEGIN");
  }
}

ReadTransaction::~ReadTransaction() {
  if (is_own_) {
    sqlite3_exec(database_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

bool Rows::next() {
  const int code = sqlite3_step(statement_);
  if (code != SQLITE_ROW && code != SQLITE_DONE) {
    fcs::fail(sqlite3_db_handle(statement_), code);
  }
  return code == SQLITE_ROW;
}

Octets Rows::octets(int column) const {
  const void *data = sqlite3_column_blob(statement_, column);
  const int length = sqlite3_column_bytes(statement_, column);
  return {static_cast<const uint8_t *>(data), static_cast<size_t>(length)};
}

Statement::Statement(Database &database, const char *sql) {
  sqlite3_stmt *statement = nullptr;
  const int code = sqlite3_prepare_v3(database.handle(), sql, -1, SQLITE_PREPARE_PERSISTENT,
                                      &statement, nullptr);
  statement_.reset(statement);
  if (code != SQLITE_OK) {
    database.fail();
  }
}

void Statement::check(int code) const {
  if (code != SQLITE_OK) {
    fcs::fail(sqlite3_db_handle(statement_.get()), code);
  }
}

void Statement::bind(int position, int64_t value) {
  check(sqlite3_bind_int64(statement_.get(), position, value));
}

void Statement::bind(int position, double value) {
  check(sqlite3_bind_double(statement_.get(), position, value));
}

void Statement::bind(int position, Octets value) {
  // A null pointer would bind NULL, which is not a string of no octets.
  const void *data = value.empty() ? "" : static_cast<const void *>(value.data());
  check(sqlite3_bind_blob64(statement_.get(), position, data, value.size(), SQLITE_STATIC));
}

} // namespace fcs
