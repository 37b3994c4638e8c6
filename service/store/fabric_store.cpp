#include "fabric_store.h"

#include "common/system/fd.h"
#include "fabric_schema.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>

namespace fcs {

namespace {

int64_t single(Database &database, const char *sql) {
  Statement statement(database, sql);
  auto rows = statement.run();
  return rows.next() ? rows.integer(0) : 0;
}

/** SQLite would create the file with whatever the process's umask leaves. */
void create_file(const std::string &path) {
  const Fd file(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!file && errno != EEXIST) {
    throw std::runtime_error(std::strerror(errno));
  }
}

/** Makes the tables of a new store, or what a store of an older version does not have yet. */
void create_tables(Database &database) {
  WriteTransaction transaction(database);
  // Another program may have been quicker.
  const int64_t version = single(database, "PRAGMA user_version");
  if (version == 0) {
    if (single(database, "SELECT count(*) FROM sqlite_schema") != 0) {
      throw std::runtime_error("it is a database of another program");
    }
    database.execute(kSchema);
    database.execute(("PRAGMA application_id = " + std::to_string(kApplicationId)).c_str());
  }
  for (const SchemaAddition &addition : kSchemaAdditions) {
    if (version < addition.version) {
      database.execute(addition.sql);
    }
  }
  database.execute(("PRAGMA user_version = " + std::to_string(kSchemaVersion)).c_str());
  transaction.commit();
}

/** Whoever may only read the store needs the files that SQLite keeps beside it while it is open. */
void check_log(Database &database) {
  try {
    single(database, "PRAGMA user_version");
  } catch (const SqliteError &) {
    if (!database.is_read_only()) {
      throw;
    }
    throw std::runtime_error("only its owner may read it while the service does not run");
  }
}

void prepare_database(Database &database, std::chrono::milliseconds busy_wait) {
  database.wait_for_others(busy_wait);
  check_log(database);
  int64_t version = single(database, "PRAGMA user_version");
  if (version != 0 && single(database, "PRAGMA application_id") != kApplicationId) {
    throw std::runtime_error("it is a database of another program");
  }
  if (!database.is_read_only() &&
      (version == 0 || (version >= kOldestSchemaVersion && version < kSchemaVersion))) {
    create_tables(database);
    version = single(database, "PRAGMA user_version");
  }
  if (version != kSchemaVersion) {
    throw std::runtime_error("it has the schema version " + std::to_string(version) +
                             ", this program knows version " + std::to_string(kSchemaVersion));
  }
  if (database.is_read_only()) {
    return;
  }
  // EXTRA makes a commit durable on file systems that have no WAL, too.
  database.execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = EXTRA;"
                   "PRAGMA journal_size_limit = 16777216; PRAGMA cache_size = -16384;");
}

std::unique_ptr<Database> open_database(const std::string &path,
                                        std::chrono::milliseconds busy_wait, FabricStore::Use use) {
  try {
    create_file(path);
    auto database = std::make_unique<Database>(path, use == FabricStore::Use::kRead);
    prepare_database(*database, busy_wait);
    return database;
  } catch (const std::exception &error) {
    throw std::runtime_error("cannot open the store " + path + ": " + error.what());
  }
}

/** False where SQLite finds no shared memory for a log, and keeps a journal instead. */
bool has_log(Database &database) {
  constexpr std::string_view kLog = "wal";
  Statement mode(database, "PRAGMA journal_mode");
  auto rows = mode.run();
  return rows.next() && std::ranges::equal(rows.octets(0), kLog);
}

} // namespace

FabricStore::Statements::Statements(Database &database)
    : fabric(database, "SELECT 1 FROM fabric"),
      total_rejects(database, "SELECT sum(rejects) FROM vsan"),
      visible_elements(database, "SELECT sum(iif(status = 3, local_elements, elements)) FROM vsan"),
      visible_ports(database, "SELECT sum(iif(status = 3, local_ports, ports)) FROM vsan"),
      platforms(database, "SELECT sum(platforms) FROM vsan"),
      totals(database, "SELECT count(*), sum(elements), sum(ports), sum(platforms) FROM vsan"),
      changes_of_others(database, "PRAGMA data_version") {
  static_assert(FCS_DISCOVERY_LOCAL_ONLY == 3);
}

FabricStore::FabricStore(const std::string &path, std::chrono::milliseconds busy_wait, Use use)
    : path_(path), database_(open_database(path, busy_wait, use)) {
  statements_.emplace(*database_);
  rows_.emplace(*database_);
  settings_.emplace(*database_);
}

void FabricStore::let_read(gid_t group) {
  struct stat file {};
  if (stat(path_.c_str(), &file) == 0 && file.st_gid == group) {
    for (const char *suffix : {"", "-wal", "-shm"}) { // The latter two while others have it open.
      (void)chmod(file_beside(path_, suffix).c_str(), 0640);
    }
  }
}

std::string FabricStore::file_beside(const std::string &path, const std::string &suffix) {
  return std::filesystem::weakly_canonical(path).string() + suffix;
}

void FabricStore::watch_files() {
  holds_fabric(); // The first read has SQLite make its files.
  std::vector<std::string> paths{path_};
  for (const char *suffix : {"-wal", "-shm", kLockSuffix, kStatusesSuffix}) {
    paths.push_back(file_beside(path_, suffix));
  }
  database_->watch(paths);
  paths.push_back(std::filesystem::path(paths[1]).parent_path().string());
  watch_ = StoreWatch(std::span(paths).first(2), std::span(paths).subspan(2));
}

int64_t FabricStore::changes_of_others() {
  Rows others = statements_->changes_of_others.run();
  others.next();
  return others.integer(0);
}

std::optional<StoreVersion> FabricStore::version() {
  sqlite3 *const handle = database_->handle();
  if (sqlite3_txn_state(handle, "main") == SQLITE_TXN_WRITE) {
    return std::nullopt;
  }
  if (!has_log_) {
    has_log_ = has_log(*database_);
  }
  const std::optional<WalHeader> log = *has_log_ ? wal_header(handle) : std::nullopt;
  return StoreVersion{sqlite3_total_changes64(handle), log, log ? 0 : changes_of_others()};
}

WriteTransaction FabricStore::write() {
  if (status_changes_) {
    status_changes_->commit();
  }
  return WriteTransaction(*database_);
}

StatusChanges &FabricStore::status_changes() {
  if (!status_changes_) {
    status_changes_ =
        std::make_unique<StatusChanges>(*database_, file_beside(path_, kStatusesSuffix));
  }
  return *status_changes_;
}

bool FabricStore::holds_fabric() {
  return statements_->fabric.run().next();
}

uint32_t FabricStore::total_rejects() {
  auto rows = statements_->total_rejects.run();
  rows.next();
  return rows.word(0);
}

uint32_t FabricStore::visible_elements() {
  auto rows = statements_->visible_elements.run();
  rows.next();
  return rows.word(0);
}

uint32_t FabricStore::visible_ports() {
  auto rows = statements_->visible_ports.run();
  rows.next();
  return rows.word(0);
}

uint32_t FabricStore::platforms() {
  auto rows = statements_->platforms.run();
  rows.next();
  return rows.word(0);
}

FabricTotals FabricStore::totals() {
  auto rows = statements_->totals.run();
  rows.next();
  return {rows.word(0), rows.word(1), rows.word(2), rows.word(3)};
}

FcsResult result_of(const SqliteError &error) {
  return error.code() == SQLITE_READONLY_DBMOVED ? FCS_ERR_STORE_GONE : FCS_ERR_STORE;
}

} // namespace fcs
