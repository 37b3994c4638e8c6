/**
 * A store for fuzzing the service: quick rather than durable, in a file without a name.
 */
#pragma once

#include "fuzz_input.h"

#include "service/description/fabric_json.h"
#include "service/store/fabric_store.h"

#include <filesystem>
#include <istream>
#include <sqlite3.h>
#include <unistd.h>

class FuzzStore {
public:
  explicit FuzzStore(std::istream &description) {
    fcs::import_fabric(store, description, "the original");
    sqlite3_open(":memory:", &original_);
    copy(store.database().handle(), original_);
    changes_ = sqlite3_total_changes(store.database().handle());
  }
  FuzzStore(const FuzzStore &) = delete;
  FuzzStore &operator=(const FuzzStore &) = delete;
  ~FuzzStore() { sqlite3_close_v2(original_); }

  /** Brings back the fabric described at first, if the store has been changed since: without any
   *  sign of a change, so that whoever remembers rows has to forget them if this returns true. */
  bool restore() {
    sqlite3 *handle = store.database().handle();
    if (sqlite3_total_changes(handle) == changes_) {
      return false;
    }
    copy(original_, handle);
    changes_ = sqlite3_total_changes(handle);
    return true;
  }

  fcs::FabricStore store = open_nameless_store();

private:
  static fcs::FabricStore open_nameless_store() {
    std::string path = std::filesystem::temp_directory_path() / "fcs-fuzz-XXXXXX";
    const int fd = mkstemp(path.data());
    require(fd >= 0, "there is room for a store");
    close(fd);
    fcs::FabricStore opened(path, std::chrono::milliseconds(0)); // Nobody else has it.
    opened.database().execute("PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = MEMORY;"
                              "PRAGMA synchronous = OFF;");
    unlink(path.c_str());
    return opened;
  }

  static void copy(sqlite3 *from, sqlite3 *to) {
    sqlite3_backup *backup = sqlite3_backup_init(to, "main", from, "main");
    require(backup != nullptr && sqlite3_backup_step(backup, -1) == SQLITE_DONE,
            "a store can be copied");
    sqlite3_backup_finish(backup);
  }

  sqlite3 *original_ = nullptr;
  int changes_ = 0;
};
