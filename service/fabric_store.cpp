#include "service/fabric_store.h"

#include "service/fabric_schema.h"
#include "service/fd.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace fcs {

namespace {

constexpr char kElement[] =
    "SELECT e.*, v.status FROM element e CROSS JOIN vsan v ON v.id = e.vsan ";
constexpr char kDiscovery[] =
    "SELECT id, status, completed_seconds, completed_microseconds FROM vsan ";
constexpr char kStatistics[] =
    "SELECT id, rx_get_reqs, tx_get_reqs, rx_reg_reqs, rx_dereg_reqs, tx_reg_reqs, tx_dereg_reqs,"
    " rx_rscns, tx_rscns, rejects FROM vsan ";
/** By Lookup: what selects the row of a VSAN, or the one after it. */
constexpr const char *kByVsan[] = {"WHERE id = ?1", "WHERE id > ?1 ORDER BY id LIMIT 1"};

Statement by_vsan(Database &database, const char *select, Lookup lookup) {
  return {database, (std::string(select) + kByVsan[static_cast<size_t>(lookup)]).c_str()};
}

Statement element(Database &database, const char *condition) {
  return {database, (std::string(kElement) + condition).c_str()};
}

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

void create_tables(Database &database) {
  database.execute("BEGIN IMMEDIATE");
  try {
    // Another program may have been quicker.
    if (single(database, "PRAGMA user_version") == 0) {
      if (single(database, "SELECT count(*) FROM sqlite_schema") != 0) {
        throw std::runtime_error("it is a database of another program");
      }
      database.execute(kSchema);
      database.execute(("PRAGMA application_id = " + std::to_string(kApplicationId)).c_str());
      database.execute(("PRAGMA user_version = " + std::to_string(kSchemaVersion)).c_str());
    }
    database.execute("COMMIT");
  } catch (...) {
    sqlite3_exec(database.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    throw;
  }
}

void prepare_database(Database &database, std::chrono::milliseconds busy_wait) {
  sqlite3_busy_timeout(database.handle(), static_cast<int>(busy_wait.count()));
  if (single(database, "PRAGMA user_version") == 0) {
    create_tables(database);
  }
  if (single(database, "PRAGMA application_id") != kApplicationId) {
    throw std::runtime_error("it is a database of another program");
  }
  const int64_t version = single(database, "PRAGMA user_version");
  if (version != kSchemaVersion) {
    throw std::runtime_error("it has the schema version " + std::to_string(version) +
                             ", this program knows version " + std::to_string(kSchemaVersion));
  }
  database.execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;"
                   "PRAGMA journal_size_limit = 16777216; PRAGMA cache_size = -16384;");
}

Database open_database(const std::string &path, std::chrono::milliseconds busy_wait) {
  try {
    create_file(path);
    Database database(path);
    prepare_database(database, busy_wait);
    return database;
  } catch (const std::exception &error) {
    throw std::runtime_error("cannot open the store " + path + ": " + error.what());
  }
}

template <size_t kLength> void copy_octets(Octets from, uint8_t (&to)[kLength]) {
  std::copy_n(from.begin(), std::min(from.size(), kLength), to);
}

bool is_hidden(const Rows &element_row) {
  constexpr int kLocal = 10;
  constexpr int kStatus = 11;
  return element_row.integer(kStatus) == FCS_DISCOVERY_LOCAL_ONLY &&
         element_row.integer(kLocal) == 0;
}

} // namespace

IeEntry read_element(const Rows &rows) {
  IeEntry entry{};
  int column = 0;
  entry.vsan = rows.word(column++);
  copy_octets(rows.octets(column++), entry.name);
  entry.type = rows.word(column++);
  entry.domain_id = rows.word(column++);
  copy_octets(rows.octets(column++), entry.mgmt_id);
  copy_octets(rows.octets(column++), entry.fabric_name);
  const Octets logical_name = rows.octets(column++);
  entry.logical_name_length =
      static_cast<uint8_t>(std::min(logical_name.size(), sizeof(entry.logical_name)));
  copy_octets(logical_name, entry.logical_name);
  entry.mgmt_addr_list_index = rows.word(column++);
  copy_octets(rows.octets(column++), entry.info_list);
  entry.port_list_index = rows.word(column++);
  return entry;
}

FabricStore::Statements::Statements(Database &database)
    : fabric(database, "SELECT 1 FROM fabric"),
      discovery_status{by_vsan(database, kDiscovery, Lookup::kExact),
                       by_vsan(database, kDiscovery, Lookup::kNext)},
      statistics{by_vsan(database, kStatistics, Lookup::kExact),
                 by_vsan(database, kStatistics, Lookup::kNext)},
      element{fcs::element(database, "WHERE e.vsan = ?1 AND e.name = ?2"),
              fcs::element(database, "WHERE (e.vsan, e.name) > (?1, ?2)"
                                     " ORDER BY e.vsan, e.name LIMIT 1")},
      local_element(
          fcs::element(database, "WHERE e.vsan = ?1 AND e.local = 1 AND e.name > ?2 LIMIT 1")),
      total_rejects(database, "SELECT sum(rejects) FROM vsan"),
      visible_elements(database, "SELECT sum(iif(status = 3, local_elements, elements)) FROM vsan"),
      visible_ports(database, "SELECT sum(iif(status = 3, local_ports, ports)) FROM vsan"),
      platforms(database, "SELECT sum(platforms) FROM vsan"),
      totals(database, "SELECT count(*), sum(elements), sum(ports), sum(platforms) FROM vsan") {
  static_assert(FCS_DISCOVERY_LOCAL_ONLY == 3);
}

FabricStore::FabricStore(const std::string &path, std::chrono::milliseconds busy_wait)
    : path_(path), database_(open_database(path, busy_wait)) {
  statements_.emplace(database_);
}

bool FabricStore::holds_fabric() {
  return statements_->fabric.run().next();
}

bool FabricStore::find_discovery_status(Lookup lookup, const uint32_t &vsan,
                                        fcs_disc_status_record &row) {
  auto rows = statements_->discovery_status[static_cast<size_t>(lookup)].run(vsan);
  if (!rows.next()) {
    return false;
  }
  row.vsan = rows.word(0);
  row.status = static_cast<int32_t>(rows.integer(1));
  row.completed_seconds = static_cast<int32_t>(rows.integer(2));
  row.completed_microseconds = static_cast<int32_t>(rows.integer(3));
  return true;
}

bool FabricStore::find_statistics(Lookup lookup, const uint32_t &vsan, FcsStatsRecord &row) {
  auto rows = statements_->statistics[static_cast<size_t>(lookup)].run(vsan);
  if (!rows.next()) {
    return false;
  }
  row = {rows.word(0), rows.word(1), rows.word(2), rows.word(3), rows.word(4),
         rows.word(5), rows.word(6), rows.word(7), rows.word(8), rows.word(9)};
  return true;
}

bool FabricStore::find_element(Lookup lookup, const IeKey &key, IeEntry &row) {
  if (lookup == Lookup::kNext) {
    return next_visible_element(key, row);
  }
  auto rows = statements_->element[0].run(key.vsan, Octets(key.name));
  if (!rows.next() || is_hidden(rows)) {
    return false;
  }
  row = read_element(rows);
  return true;
}

bool FabricStore::next_visible_element(const IeKey &key, IeEntry &row) {
  for (IeKey after = key;;) {
    auto rows = statements_->element[1].run(after.vsan, Octets(after.name));
    if (!rows.next()) {
      return false;
    }
    if (!is_hidden(rows)) {
      row = read_element(rows);
      return true;
    }
    // In a local-only VSAN the hidden elements are passed over together, however many they are.
    const uint32_t vsan = rows.word(0);
    const Octets from = after.vsan == vsan ? Octets(after.name) : Octets();
    auto local = statements_->local_element.run(vsan, from);
    if (local.next()) {
      row = read_element(local);
      return true;
    }
    after.vsan = vsan;
    std::fill(std::begin(after.name), std::end(after.name), uint8_t{0xFF});
  }
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

} // namespace fcs
