/**
 * The service's store: a SQLite database with one table a kind of row, each in the order in which
 * its rows are served, so that the row after a given key is one indexed query.
 */
#pragma once

#include "fabric_rows.h"
#include "service/fabric/fabric.h"
#include "service_settings.h"
#include "sqlite.h"
#include "status_changes.h"
#include "store_watch.h"
#include "wal_header.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>

namespace fcs {

/** Files of a running service's beside its store: its lock, and statuses not yet in the store. */
constexpr char kLockSuffix[] = "-lock";
constexpr char kStatusesSuffix[] = "-statuses";

/** Tells apart what a store holds at different times. */
struct StoreVersion {
  int64_t own_changes;          ///< Rows that this process has changed.
  std::optional<WalHeader> log; ///< Where the store has a log; the next is 0 then.
  int64_t others;               ///< FabricStore::changes_of_others().

  bool operator==(const StoreVersion &) const = default;
};

/**
 * An open store. Every function that reads or writes it throws SqliteError when the database fails.
 */
class FabricStore {
public:
  /** What a program opens a store for: kRead takes one, too, that it may not change. */
  enum class Use : bool { kRead, kChange };

  /**
   * Opens the store, creating it (mode 0600) if there is none.
   * \param busy_wait how long a call waits for another program's write to end.
   * Throws std::runtime_error naming the path and why it cannot be used.
   */
  FabricStore(const std::string &path, std::chrono::milliseconds busy_wait, Use use = Use::kChange);

  /** From now on the members of the group may read the store, if it is the group of its file. */
  void let_read(gid_t group);

  /** The path of a file that belongs to the store at `path`, which may be a link to it. */
  static std::string file_beside(const std::string &path, const std::string &suffix);

  /** From now on changes are refused once a file of the store has been deleted or replaced. watch()
   *  tells when that may be so or anybody may have changed the store, except where a link on the
   *  way to it leads elsewhere now, or a directory above its own. */
  void watch_files();
  const StoreWatch &watch() const { return watch_; }
  /** Whether none has. */
  bool in_place() const { return database_->in_place(); }

  /** Whether a fabric, be it an empty one, was ever stored. */
  bool holds_fabric();

  /** The rows that requests ask for. */
  FabricRows &rows() { return *rows_; }

  /** What the service is told to do, independent of the fabric. */
  ServiceSettings &settings() { return *settings_; }
  /** Whether the notification is wanted, as 1 or 0. */
  uint32_t wants_reject_notifications() { return settings_->get(Setting::kRejectNotifications); }
  uint32_t wants_complete_notifications() {
    return settings_->get(Setting::kCompleteNotifications);
  }

  /** Rejected requests of all VSANs, modulo 2^32. */
  uint32_t total_rejects();
  /** Rows that the discovery status of their VSAN lets be seen. */
  uint32_t visible_elements();
  uint32_t visible_ports();
  uint32_t platforms();
  /** All rows, hidden ones included. */
  FabricTotals totals();

  /** Another number whenever another process has changed something. */
  int64_t changes_of_others();
  /** That of what is held now; none while a change of one's own is neither made nor undone. */
  std::optional<StoreVersion> version();

  /** Begins a change of anything but discovery statuses, whose own changes are committed first. */
  WriteTransaction write();
  /** Changes of discovery statuses; for one process, which takes up here what it has left. */
  StatusChanges &status_changes();

  Database &database() { return *database_; }
  const std::string &path() const { return path_; }

private:
  /** Prepared once, as everything that answers requests. */
  struct Statements {
    explicit Statements(Database &database);
    Statement fabric, total_rejects, visible_elements, visible_ports, platforms, totals,
        changes_of_others;
  };

  std::string path_;
  std::unique_ptr<Database> database_;
  std::optional<bool> has_log_; ///< Once it was asked for; it stays while the store is open.
  std::optional<Statements> statements_;
  std::optional<FabricRows> rows_;
  std::optional<ServiceSettings> settings_;
  std::unique_ptr<StatusChanges> status_changes_;
  StoreWatch watch_;
};

/** What a request is answered with when the store fails: FCS_ERR_STORE or FCS_ERR_STORE_GONE. */
FcsResult result_of(const SqliteError &error);

} // namespace fcs
