/**
 * The little of SQLite that the store needs, with owners and exceptions.
 */
#pragma once

#include "common/text/octets.h"
#include "file_identity.h"

#include <chrono>
#include <memory>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace fcs {

/** A failed call of SQLite. */
class SqliteError : public std::runtime_error {
public:
  SqliteError(int code, const std::string &text) : std::runtime_error(text), code_(code) {}
  /** SQLite's extended result code. */
  int code() const { return code_; }

private:
  int code_;
};

/** A connection to a database file that exists. */
class Database {
public:
  /** \param to_read whether a file that this process may only read will do. Throws SqliteError. */
  Database(const std::string &path, bool to_read);
  Database(const Database &) = delete;
  Database &operator=(const Database &) = delete;
  ~Database() = default;

  /** Whether changes fail, as this process may only read the file. */
  bool is_read_only() const { return sqlite3_db_readonly(handle(), "main") == 1; }

  /** How long a call waits for another program's write to end; at first it does not. */
  void wait_for_others(std::chrono::milliseconds patience);

  /**
   * From now on a transaction that writes fails once one of the files is no longer where it is now:
   * what is written then would be gone with the next start. Files that are not there are left out.
   */
  void watch(const std::vector<std::string> &paths);
  bool in_place() const;
  /** Throws SqliteError with the code SQLITE_READONLY_DBMOVED when a file is not in place. */
  void check_in_place() const;
  /** The same for the file watched first only, which takes a system call. */
  void check_first_in_place() const;

  /** Runs statements that return no rows. */
  void execute(const char *sql);
  sqlite3 *handle() const { return handle_.get(); }
  [[noreturn]] void fail() const;

private:
  struct Close {
    void operator()(sqlite3 *handle) const { sqlite3_close_v2(handle); }
  };
  std::chrono::milliseconds patience_{};
  std::vector<FileIdentity> watched_;
  std::unique_ptr<sqlite3, Close> handle_;
};

/** A transaction that writes; undone when it goes without a commit. */
class WriteTransaction {
public:
  /** Throws SqliteError, also when another program's write goes on for too long, or the database's
   *  files are not in place. */
  explicit WriteTransaction(Database &database);
  WriteTransaction(const WriteTransaction &) = delete;
  WriteTransaction &operator=(const WriteTransaction &) = delete;
  ~WriteTransaction();

  /** Makes what was written durable and visible to everybody. Throws SqliteError, also when the
   *  database's files have been in place no longer. */
  void commit();

private:
  Database &database_;
  bool open_ = true;
};

/** A transaction that only reads: all that is read within it is of one moment. Within a transaction
 * that writes it is a part of that one. */
class ReadTransaction {
public:
  /** Throws SqliteError. */
  explicit ReadTransaction(Database &database);
  ReadTransaction(const ReadTransaction &) = delete;
  ReadTransaction &operator=(const ReadTransaction &) = delete;
  ~ReadTransaction();

private:
  Database &database_;
  bool is_own_;
};

/** The rows of a running statement; the statement is free for its next run when this goes. */
class Rows {
public:
  explicit Rows(sqlite3_stmt *statement) : statement_(statement) {}
  Rows(const Rows &) = delete;
  Rows &operator=(const Rows &) = delete;
  ~Rows() { sqlite3_reset(statement_); }

  /** Goes on to the next row; false when there is none. Throws SqliteError. */
  bool next();

  int columns() const { return sqlite3_column_count(statement_); }
  int64_t integer(int column) const { return sqlite3_column_int64(statement_, column); }
  uint32_t word(int column) const { return static_cast<uint32_t>(integer(column)); }
  double real(int column) const { return sqlite3_column_double(statement_, column); }
  /** Valid until the next row. */
  Octets octets(int column) const;

private:
  sqlite3_stmt *statement_;
};

/** A prepared statement. */
class Statement {
public:
  Statement(Database &database, const char *sql);
  Statement(Database &database, const std::string &sql) : Statement(database, sql.c_str()) {}

  /** Binds a value for runs to come; octets have to outlive their rows. */
  void bind(int position, int64_t value);
  void bind(int position, uint32_t value) { bind(position, int64_t{value}); }
  void bind(int position, int32_t value) { bind(position, int64_t{value}); }
  void bind(int position, bool value) { bind(position, int64_t{value ? 1 : 0}); }
  void bind(int position, double value);
  void bind(int position, Octets value);

  /** Runs the statement with these values; octets have to outlive the rows. */
  template <typename... Values> Rows run(const Values &...values) {
    int position = 0;
    (bind(++position, values), ...);
    return Rows(statement_.get());
  }

  /** Runs a statement that returns no rows. */
  template <typename... Values> void execute(const Values &...values) { run(values...).next(); }

  /** Runs a statement that changes rows; how many it has changed. */
  template <typename... Values> int change(const Values &...values) {
    execute(values...);
    return sqlite3_changes(sqlite3_db_handle(statement_.get()));
  }

private:
  void check(int code) const;

  struct Finalize {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
  };
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

} // namespace fcs
