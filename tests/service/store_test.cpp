#include "fixtures.h"

#include "service/store/fabric_writer.h"

#include <fstream>
#include <sys/stat.h>

namespace {

using fcs::FabricStore;

constexpr std::chrono::milliseconds kWait{100};

using Store = ServedStore;

TEST_F(Store, AnotherProgramsChangesAreSeenOnceTheyAreCommitted) {
  FabricStore other(dir_.path("fabric.db"), kWait);
  {
    fcs::FabricWriter abandoned(other);
    abandoned.add(fcs::Vsan{});
    EXPECT_THROW(fcs::FabricWriter second(store_), fcs::SqliteError);
  }
  fcs::FabricWriter writer(other);
  writer.add(fcs::Vsan{});
  EXPECT_FALSE(store_.holds_fabric());
  EXPECT_EQ(store_.totals().vsans, 0U);
  writer.commit();
  EXPECT_TRUE(store_.holds_fabric());
  EXPECT_EQ(store_.totals().vsans, 1U);
}

TEST_F(Store, ThatIsGoneTakesNoChanges) {
  using namespace std::filesystem;
  const path directory = dir_.path("store");
  const path file = directory / "fabric.db";
  const std::function<void()> kLosses[] = {
      [&] { remove(file); },
      [&] { remove(directory / "fabric.db-wal"); },
      [&] { rename(directory, dir_.path("moved")); },
      [&] {
        copy_file(file, directory / "copy");
        rename(directory / "copy", file);
      },
  };
  for (const auto &lose : kLosses) {
    SCOPED_TRACE(&lose - kLosses);
    create_directory(directory);
    FabricStore store(file, kWait);
    store.watch_files();
    fcs::WriteTransaction transaction = store.write();
    EXPECT_TRUE(store.in_place());
    lose();
    EXPECT_FALSE(store.in_place());
    try {
      transaction.commit();
      ADD_FAILURE() << "it would be gone with the next start";
    } catch (const fcs::SqliteError &error) {
      EXPECT_EQ(fcs::result_of(error), FCS_ERR_STORE_GONE);
    }
    EXPECT_THROW(store.write(), fcs::SqliteError);
    EXPECT_THROW(store.status_changes().set(1, FCS_DISCOVERY_IN_PROGRESS), fcs::SqliteError);
    remove_all(directory);
  }
}

std::string opening_fault(const std::string &path) {
  try {
    const FabricStore store(path, kWait);
  } catch (const std::runtime_error &error) {
    return error.what();
  }
  return {};
}

TEST_F(Store, IsPrivateToItsOwner) {
  struct stat file {};
  ASSERT_EQ(stat(dir_.path("fabric.db").c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 0777U, 0600U);
}

TEST_F(Store, TakesUpStoresOfOlderVersions) {
  const std::pair<const char *, const char *> kVersions[] = {
      {"PRAGMA user_version = 4", ""},
      {"PRAGMA user_version = 3", "DROP INDEX element_mgmt_addr_list"},
      {"PRAGMA user_version = 2", "DROP INDEX element_mgmt_addr_list; DROP TABLE settings"}};
  const std::string path = dir_.path("older.db");
  for (const auto &[version, undo] : kVersions) {
    EXPECT_EQ(opening_fault(path), "");
    fcs::Database(path).execute("ALTER TABLE fabric DROP COLUMN generation");
    fcs::Database(path).execute(undo);
    fcs::Database(path).execute(version);
  }
  FabricStore store(path, kWait);
  EXPECT_EQ(store.settings().get(fcs::Setting::kDiscoveryTimeout), 900U);
  store.database().execute("DROP INDEX element_mgmt_addr_list");
}

TEST_F(Store, RefusesWhatIsNotItsOwn) {
  std::ofstream(dir_.path("text.db")) << std::string(100, 'x');
  std::ofstream(dir_.path("foreign.db")).close();
  fcs::Database(dir_.path("foreign.db")).execute("CREATE TABLE t (x)");
  const std::pair<const char *, const char *> kVersions[] = {{"99", "PRAGMA user_version = 99"},
                                                             {"1", "PRAGMA user_version = 1"}};
  for (const auto &[name, version] : kVersions) {
    EXPECT_EQ(opening_fault(dir_.path(name)), "");
    fcs::Database(dir_.path(name)).execute(version);
  }
  const std::pair<std::string, std::string> kCases[] = {
      {"text.db", "file is not a database"},
      {"foreign.db", "it is a database of another program"},
      {"99", "it has the schema version 99, this program knows version 5"},
      {"1", "it has the schema version 1, this program knows version 5"},
      {"none/fabric.db", "No such file or directory"},
      {"", "Is a directory"},
  };
  for (const auto &[name, why] : kCases) {
    const std::string fault = opening_fault(dir_.path(name));
    EXPECT_EQ(fault, "cannot open the store " + dir_.path(name).append(": ").append(why));
  }
}

} // namespace
