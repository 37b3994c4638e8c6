#include "fixtures.h"

#include "service/fabric_writer.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using fcs::FabricStore;

constexpr std::chrono::milliseconds kWait{100};

class Store : public testing::Test {
protected:
  static void add_vsan(fcs::FabricWriter &writer, uint32_t id, FcsDiscoveryStatus status,
                       uint32_t rejects = 0) {
    fcs::Vsan vsan{};
    vsan.discovery = {id, status, 0, 0};
    vsan.statistics.vsan = id;
    vsan.statistics.rejects = rejects;
    writer.add(vsan);
  }

  TempDir dir_;
  FabricStore store_{dir_.path("fabric.db"), kWait};
};

TEST_F(Store, RejectsAreSummedModulo32Bits) {
  EXPECT_EQ(store_.total_rejects(), 0U);
  fcs::FabricWriter writer(store_);
  add_vsan(writer, 1, FCS_DISCOVERY_COMPLETED, 0xFFFFFFFF);
  add_vsan(writer, 2, FCS_DISCOVERY_COMPLETED, 0xFFFFFFFF);
  add_vsan(writer, 3, FCS_DISCOVERY_COMPLETED, 7);
  writer.commit();
  EXPECT_EQ(store_.total_rejects(), 5U);
}

TEST_F(Store, AnotherProgramsChangesAreSeenOnceTheyAreCommitted) {
  EXPECT_FALSE(store_.holds_fabric());
  FabricStore other(dir_.path("fabric.db"), kWait);
  {
    fcs::FabricWriter abandoned(other);
    add_vsan(abandoned, 1, FCS_DISCOVERY_COMPLETED);
    EXPECT_EQ(store_.totals().vsans, 0U);
    EXPECT_THROW(fcs::FabricWriter second(store_), fcs::SqliteError);
  }
  EXPECT_FALSE(store_.holds_fabric());
  {
    fcs::FabricWriter writer(other);
    add_vsan(writer, 1, FCS_DISCOVERY_COMPLETED);
    writer.commit();
  }
  EXPECT_TRUE(store_.holds_fabric());
  EXPECT_EQ(store_.totals().vsans, 1U);
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
      {"PRAGMA user_version = 3", "DROP INDEX element_mgmt_addr_list"},
      {"PRAGMA user_version = 2", "DROP INDEX element_mgmt_addr_list; DROP TABLE settings"}};
  const std::string path = dir_.path("older.db");
  for (const auto &[version, undo] : kVersions) {
    EXPECT_EQ(opening_fault(path), "");
    fcs::Database(path).execute(undo);
    fcs::Database(path).execute(version);
  }
  FabricStore store(path, kWait);
  EXPECT_EQ(store.settings().get(fcs::Setting::kDiscoveryTimeout), 900U);
  store.database().execute("DROP INDEX element_mgmt_addr_list");
}

TEST_F(Store, RefusesWhatIsNotItsOwn) {
  const std::string text = dir_.path("text.db");
  std::ofstream(text) << "This is not a database, and it is long enough to be told from one.\n";
  const std::string foreign = dir_.path("foreign.db");
  std::ofstream(foreign).close();
  fcs::Database(foreign).execute("CREATE TABLE t (x)");
  const std::string newer = dir_.path("newer.db");
  EXPECT_EQ(opening_fault(newer), "");
  fcs::Database(newer).execute("PRAGMA user_version = 99");
  const std::string ancient = dir_.path("ancient.db");
  EXPECT_EQ(opening_fault(ancient), "");
  fcs::Database(ancient).execute("PRAGMA user_version = 1");

  const struct {
    std::string path;
    std::string why;
  } kCases[] = {
      {text, "file is not a database"},
      {foreign, "it is a database of another program"},
      {newer, "it has the schema version 99, this program knows version 4"},
      {ancient, "it has the schema version 1, this program knows version 4"},
      {dir_.path("none/fabric.db"), "No such file or directory"},
      {dir_.path(""), "Is a directory"},
  };
  for (const auto &refused : kCases) {
    EXPECT_EQ(opening_fault(refused.path),
              "cannot open the store " + refused.path + ": " + refused.why);
  }
}

} // namespace
