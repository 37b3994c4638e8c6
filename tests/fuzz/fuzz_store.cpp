#include "fuzz_store.h"

#include "fuzz_input.h"

#include "service/description/fabric_json.h"

#include <filesystem>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds kNobodyElse{0};

fcs::FabricStore open_nameless_store() {
  std::string path = (std::filesystem::temp_directory_path() / "fcs-fuzz-XXXXXX").string();
  const int fd = mkstemp(path.data());
  require(fd >= 0, "there is room for a store");
  close(fd);
  fcs::FabricStore store(path, kNobodyElse);
  store.database().execute("PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = MEMORY;"
                           "PRAGMA synchronous = OFF;");
  unlink(path.c_str());
  return store;
}

void copy(sqlite3 *from, sqlite3 *to) {
  sqlite3_backup *backup = sqlite3_backup_init(to, "main", from, "main");
  require(backup != nullptr && sqlite3_backup_step(backup, -1) == SQLITE_DONE,
          "a store can be copied");
  sqlite3_backup_finish(backup);
}

} // namespace

FuzzStore::FuzzStore(std::istream &description) : store(open_nameless_store()) {
  fcs::import_fabric(store, description, "the original");
  sqlite3 *original = nullptr;
  sqlite3_open(":memory:", &original);
  original_.reset(original);
  copy(store.database().handle(), original_.get());
  changes_ = sqlite3_total_changes(store.database().handle());
}

void FuzzStore::restore() {
  sqlite3 *handle = store.database().handle();
  if (sqlite3_total_changes(handle) != changes_) {
    copy(original_.get(), handle);
    changes_ = sqlite3_total_changes(handle);
  }
}
