/**
 * The service's store: a SQLite database with one table a kind of row, each in the order in which
 * its rows are served, so that the row after a given key is one indexed query.
 *
 * Rows are ordered by VSAN as an unsigned word, then by name as octets. A VSAN whose discovery
 * status is local-only shows its local element alone.
 */
#pragma once

#include "service/fabric.h"
#include "service/sqlite.h"

#include <chrono>
#include <optional>
#include <string>

namespace fcs {

/** Which row a key asks for: its own, or the first one after it. */
enum class Lookup { kExact, kNext };

/**
 * An open store. Every function that reads or writes it throws SqliteError when the database fails.
 */
class FabricStore {
public:
  /**
   * Opens the store, creating it (mode 0600) if there is none.
   * \param busy_wait how long a call waits for another program's write to end.
   * Throws std::runtime_error naming the path and why it cannot be used.
   */
  FabricStore(const std::string &path, std::chrono::milliseconds busy_wait);

  /** Whether a fabric, be it an empty one, was ever stored. */
  bool holds_fabric();

  /** A row of the named record; false when there is none. */
  bool find_discovery_status(Lookup lookup, const uint32_t &vsan, fcs_disc_status_record &row);
  bool find_statistics(Lookup lookup, const uint32_t &vsan, FcsStatsRecord &row);
  bool find_element(Lookup lookup, const IeKey &key, IeEntry &row);

  /** Rejected requests of all VSANs, modulo 2^32. */
  uint32_t total_rejects();
  /** Rows that the discovery status of their VSAN lets be seen. */
  uint32_t visible_elements();
  uint32_t visible_ports();
  uint32_t platforms();
  /** All rows, hidden ones included. */
  FabricTotals totals();

  Database &database() { return database_; }
  const std::string &path() const { return path_; }

private:
  bool next_visible_element(const IeKey &key, IeEntry &row);

  /** What every answer is read with, prepared once. */
  struct Statements {
    explicit Statements(Database &database);
    Statement fabric;
    Statement discovery_status[2], statistics[2], element[2], local_element;
    Statement total_rejects, visible_elements, visible_ports, platforms, totals;
  };

  std::string path_;
  Database database_;
  std::optional<Statements> statements_;
};

/** An interconnect element's row, in the column order of its table. */
IeEntry read_element(const Rows &rows);

} // namespace fcs
