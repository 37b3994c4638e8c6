#include "fixtures.h"

#include "service/fabric_writer.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using fcs::FabricStore;
using fcs::Lookup;

constexpr std::chrono::milliseconds kWait{100};

IeKey key_of(uint32_t vsan, const char *name) {
  IeKey key{vsan, {}};
  std::ranges::copy(fcs::octets_of(*fcs::from_hex(name)), key.name);
  return key;
}

std::string show(const IeEntry &entry) {
  return std::to_string(entry.vsan) + " " + fcs::to_hex(entry.name, "");
}

class Store : public testing::Test {
protected:
  /** Every element that a walk from `key` comes by. */
  std::vector<std::string> walk(IeKey key = {}) {
    std::vector<std::string> rows;
    IeEntry row{};
    while (rows.size() < 100 && store_.rows().find_element(Lookup::kNext, key, row)) {
      rows.push_back(show(row));
      key.vsan = row.vsan;
      std::memcpy(key.name, row.name, sizeof(key.name));
    }
    return rows;
  }

  static void add_vsan(fcs::FabricWriter &writer, uint32_t id, FcsDiscoveryStatus status,
                       uint32_t rejects = 0) {
    fcs::Vsan vsan{};
    vsan.discovery = {id, status, 0, 0};
    vsan.statistics.vsan = id;
    vsan.statistics.rejects = rejects;
    writer.add(vsan);
  }

  /** An element with two ports. */
  static void add_element(fcs::FabricWriter &writer, uint32_t vsan, const char *name, bool local) {
    static uint32_t port_list = 0;
    fcs::Element element{};
    element.entry.vsan = vsan;
    std::ranges::copy(key_of(vsan, name).name, element.entry.name);
    element.local = local;
    element.entry.port_list_index = ++port_list;
    writer.add(element);
    for (const uint8_t last : {uint8_t{1}, uint8_t{2}}) {
      fcs::Port port{};
      port.vsan = vsan;
      std::ranges::copy(element.entry.name, port.name.begin());
      port.name[0] = last;
      port.port_list = port_list;
      port.local = local;
      writer.add(port);
    }
  }

  TempDir dir_;
  FabricStore store_{dir_.path("fabric.db"), kWait};
};

TEST_F(Store, WalksElementsByUnsignedVsanThenByOctets) {
  {
    fcs::FabricWriter writer(store_);
    for (const uint32_t vsan : {0xF0000000U, 7U, 0x7FFFFFFFU}) {
      add_vsan(writer, vsan, FCS_DISCOVERY_COMPLETED);
    }
    add_element(writer, 0xF0000000, "0000000000000000", false);
    add_element(writer, 7, "80000000000000ff", false);
    add_element(writer, 7, "7fffffffffffff00", false);
    add_element(writer, 7, "8000000000000100", false);
    add_element(writer, 0x7FFFFFFF, "ffffffffffffffff", false);
    writer.commit();
  }
  const std::vector<std::string> all = {"7 7fffffffffffff00", "7 80000000000000ff",
                                        "7 8000000000000100", "2147483647 ffffffffffffffff",
                                        "4026531840 0000000000000000"};
  EXPECT_EQ(walk(), all);

  const struct {
    IeKey after;
    size_t first;
  } kStarts[] = {
      {key_of(7, "0000000000000000"), 0},          {key_of(7, "7fffffffffffff00"), 1},
      {key_of(7, "80000000000000fe"), 1},          {key_of(7, "ffffffffffffffff"), 3},
      {key_of(8, "0000000000000000"), 3},          {key_of(0x80000000, "ffffffffffffffff"), 4},
      {key_of(0xF0000000, "0000000000000000"), 5}, {key_of(0xFFFFFFFF, "ffffffffffffffff"), 5}};
  for (const auto &start : kStarts) {
    EXPECT_EQ(walk(start.after),
              std::vector(all.begin() + static_cast<long>(start.first), all.end()));
  }

  fcs_disc_status_record row{};
  std::vector<uint32_t> vsans;
  for (uint32_t vsan = 0; store_.rows().find_discovery_status(Lookup::kNext, vsan, row);
       vsan = row.vsan) {
    vsans.push_back(row.vsan);
  }
  EXPECT_EQ(vsans, (std::vector<uint32_t>{7, 0x7FFFFFFF, 0xF0000000}));
}

TEST_F(Store, LocalOnlyVsansShowTheirLocalElementAlone) {
  {
    fcs::FabricWriter writer(store_);
    add_vsan(writer, 1, FCS_DISCOVERY_LOCAL_ONLY);
    add_element(writer, 1, "0000000000000001", false);
    add_element(writer, 1, "0000000000000002", true);
    add_element(writer, 1, "0000000000000003", false);
    add_vsan(writer, 2, FCS_DISCOVERY_LOCAL_ONLY);
    add_element(writer, 2, "0000000000000001", false);
    add_element(writer, 2, "ffffffffffffffff", false);
    add_vsan(writer, 3, FCS_DISCOVERY_LOCAL_ONLY);
    add_element(writer, 3, "0000000000000000", true);
    add_element(writer, 3, "0000000000000009", false);
    add_vsan(writer, 4, FCS_DISCOVERY_IN_PROGRESS);
    add_element(writer, 4, "0000000000000001", false);
    add_vsan(writer, 5, FCS_DISCOVERY_LOCAL_ONLY);
    add_element(writer, 5, "0000000000000001", false);
    for (const uint32_t vsan : {1U, 2U, 3U, 4U, 5U}) {
      writer.count_rows(vsan);
    }
    writer.commit();
  }
  EXPECT_EQ(walk(), (std::vector<std::string>{"1 0000000000000002", "3 0000000000000000",
                                              "4 0000000000000001"}));
  EXPECT_EQ(walk(key_of(1, "0000000000000002")).size(), 2U);
  EXPECT_EQ(walk(key_of(3, "0000000000000000")).size(), 1U);
  IeEntry row{};
  EXPECT_FALSE(store_.rows().find_element(Lookup::kExact, key_of(1, "0000000000000001"), row));
  EXPECT_TRUE(store_.rows().find_element(Lookup::kExact, key_of(1, "0000000000000002"), row));
  EXPECT_EQ(store_.visible_elements(), 3U);
  EXPECT_EQ(store_.visible_ports(), 6U);
  EXPECT_EQ(store_.totals().elements, 9U);
  EXPECT_EQ(store_.totals().ports, 18U);
}

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

TEST_F(Store, RefusesWhatIsNotItsOwn) {
  const std::string text = dir_.path("text.db");
  std::ofstream(text) << "This is not a database, and it is long enough to be told from one.\n";
  const std::string foreign = dir_.path("foreign.db");
  std::ofstream(foreign).close();
  fcs::Database(foreign).execute("CREATE TABLE t (x)");
  const std::string newer = dir_.path("newer.db");
  EXPECT_EQ(opening_fault(newer), "");
  fcs::Database(newer).execute("PRAGMA user_version = 99");

  const struct {
    std::string path;
    std::string why;
  } kCases[] = {
      {text, "file is not a database"},
      {foreign, "it is a database of another program"},
      {newer, "it has the schema version 99, this program knows version 3"},
      {dir_.path("none/fabric.db"), "No such file or directory"},
      {dir_.path(""), "Is a directory"},
  };
  for (const auto &refused : kCases) {
    EXPECT_EQ(opening_fault(refused.path),
              "cannot open the store " + refused.path + ": " + refused.why);
  }
}

} // namespace
