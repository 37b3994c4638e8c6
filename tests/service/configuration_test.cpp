#include "fixtures.h"

#include "platform/errno_text.h"

#include <algorithm>
#include <set>

namespace {

const char *const kFabric = R"({
  "nodeNameLists": [{"index": 5, "names": ["2001005e00530101"]}, {"index": 6}],
  "mgmtAddrLists": [{"index": 11, "addresses": [{"index": 1, "address": "192.0.2.1"}]},
                    {"index": 12, "addresses": [{"index": 1, "address": "x"}]}, {"index": 13}],
  "vsans": [{"id": 1,
             "elements": [{"name": "2001005e00530201", "type": "switch", "mgmtAddrList": 11}],
             "platforms": [{"index": 1, "name": "host-1", "type": "host", "nodeNameList": 5},
                           {"index": 2, "name": "an odd one", "type": 3}]},
            {"id": 2, "elements": [
              {"name": "2001005e00530202", "type": "switch", "mgmtAddrList": 11},
              {"name": "2001005e00530203", "type": "switch", "mgmtAddrList": 13}]}]})";

constexpr auto kSet = FCS_OP_SET;
constexpr auto kDelete = FCS_OP_DELETE;
constexpr uint32_t kCreate = FCS_ROW_CREATE_AND_GO;
constexpr uint32_t kChange = FCS_ROW_ACTIVE;
constexpr uint32_t kHost = 10;

template <typename Entry> Bytes request(uint32_t id, const Entry &entry) {
  Bytes bytes(sizeof(id) + sizeof(entry));
  std::memcpy(bytes.data(), &id, sizeof(id));
  std::memcpy(bytes.data() + sizeof(id), &entry, sizeof(entry));
  return bytes;
}

Bytes address(int32_t list, int32_t index, std::string_view octets = {},
              uint32_t row_status = kCreate) {
  MgmtAddrEntry entry{};
  entry.list_index = list;
  entry.address_index = index;
  entry.address_length = static_cast<uint8_t>(octets.size());
  std::ranges::copy(fcs::octets_of(octets), entry.address);
  entry.row_status = row_status;
  return request(FCS_REC_MGMT_ADDR, entry);
}

/** The words of a platform that the cases differ in. */
struct PlatformWords {
  uint32_t row_status = kCreate;
  uint32_t type = kHost;
  uint32_t node_name_list = 0;
  uint32_t mgmt_addr_list = 0;
  uint32_t validation_request = 0;
};

/** Configuration source and validation result stand as the agent may send them: as it has them. */
Bytes platform(int32_t vsan, int32_t index, std::string_view name = {}, PlatformWords words = {}) {
  PlatformEntry entry{};
  entry.vsan = vsan;
  entry.platform_index = index;
  entry.name_length = static_cast<uint8_t>(name.size());
  std::ranges::copy(fcs::octets_of(name), entry.name);
  entry.type = words.type;
  entry.node_name_list_index = words.node_name_list;
  entry.mgmt_addr_list_index = words.mgmt_addr_list;
  entry.validation_result = words.row_status == kCreate ? 0U : uint32_t{FCS_VALID};
  entry.validation_request = words.validation_request;
  entry.row_status = words.row_status;
  return request(FCS_REC_PLATFORM, entry);
}

Bytes node_name(int32_t list, const char *name) {
  NodeNameEntry entry{};
  entry.list_index = list;
  std::ranges::copy(fcs::octets_of(*fcs::from_hex(name)), entry.name);
  return request(FCS_REC_NODE_NAME, entry);
}

class ConfigurationTest : public ServedStore {
protected:
  ConfigurationTest() { EXPECT_EQ(import_text(store_, kFabric), ""); }

  /** What was announced since the last call: VSAN and address of each. */
  std::vector<std::pair<uint32_t, std::string>> announced() {
    std::vector<std::pair<uint32_t, std::string>> all;
    for (; !notifications_.empty(); notifications_.pop()) {
      EXPECT_EQ(notifications_.front().opcode, FCS_MSG_IP_ADDR_CHANGE);
      FcsAddressNotif notif{};
      EXPECT_EQ(notifications_.front().payload.size(), sizeof(notif));
      std::memcpy(&notif, notifications_.front().payload.data(), sizeof(notif));
      all.emplace_back(notif.vsan, fcs::to_hex(notif.address, ""));
    }
    return all;
  }
};

TEST_F(ConfigurationTest, RefusesWithACodeThatHasAText) {
  const struct {
    uint32_t operation;
    Bytes request;
    int32_t result;
  } kCases[] = {
      {kSet, address(12, 1, "192.0.2.9"), FCS_ERR_ROW_EXISTS},
      {kSet, address(12, 2, "192.0.2.9", kChange), FCS_ERR_NO_SUCH_ROW},
      {kSet, address(12, 2), FCS_ERR_EMPTY_ADDRESS},
      {kSet, address(0, 2, "x"), FCS_ERR_BAD_VALUE},
      {kSet, address(12, 0, "x"), FCS_ERR_BAD_VALUE},
      {kSet, address(12, 2, "x", 0), FCS_ERR_BAD_VALUE},
      {kDelete, address(12, 2), FCS_ERR_NO_SUCH_ROW},
      {kSet, platform(3, 1, "new"), FCS_ERR_UNKNOWN_VSAN},
      {kSet, platform(1, 1, "new"), FCS_ERR_ROW_EXISTS},
      {kSet, platform(1, 3, "new", {kChange}), FCS_ERR_NO_SUCH_ROW},
      {kSet, platform(1, 3, "new", {6}), FCS_ERR_BAD_VALUE},
      {kSet, platform(1, 0, "new"), FCS_ERR_BAD_VALUE},
      {kSet, platform(1, 3), FCS_ERR_BAD_PLATFORM_NAME},
      {kSet, platform(1, 3, "host 3"), FCS_ERR_BAD_PLATFORM_NAME},
      {kSet, platform(1, 2, "still odd", {kChange, 3}), FCS_ERR_BAD_PLATFORM_NAME},
      {kSet, platform(1, 3, "host-1"), FCS_ERR_PLATFORM_NAME_TAKEN},
      {kSet, platform(1, 2, "host-1", {kChange, 3}), FCS_ERR_PLATFORM_NAME_TAKEN},
      {kSet, platform(1, 3, "new", {kCreate, 3}), FCS_ERR_BAD_VALUE},
      {kSet, platform(1, 2, "an odd one", {kChange, 4}), FCS_ERR_BAD_VALUE},
      {kSet, platform(1, 3, "new", {kCreate, kHost, 0x80000000}), FCS_ERR_BAD_VALUE},
      {kSet, platform(1, 3, "new", {kCreate, kHost, 0, 0x80000000}), FCS_ERR_BAD_VALUE},
      {kSet, platform(1, 3, "new", {kCreate, kHost, 0, 0, 2}), FCS_ERR_BAD_VALUE},
      {kDelete, platform(1, 3), FCS_ERR_NO_SUCH_ROW},
      {kSet, node_name(5, "2001005e00530101"), FCS_ERR_ROW_EXISTS},
      {kSet, node_name(6, "2001005e00530101"), FCS_ERR_NODE_NAME_TAKEN},
      {kSet, node_name(0, "2001005e00530102"), FCS_ERR_BAD_VALUE},
      {kDelete, node_name(6, "2001005e00530101"), FCS_ERR_NO_SUCH_ROW},
  };
  const std::string before = export_text(store_);
  std::set<std::string> texts = {errno_text(0x7FFF)};
  std::set<int32_t> codes;
  for (const auto &refused : kCases) {
    EXPECT_EQ(ask(refused.operation, refused.request).result, refused.result)
        << "case " << &refused - kCases;
    if (codes.insert(refused.result).second) {
      EXPECT_TRUE(texts.insert(errno_text(refused.result)).second) << refused.result;
    }
  }
  EXPECT_EQ(export_text(store_), before);
}

TEST_F(ConfigurationTest, StoresRowsAsConfiguredAndSurvivesARoundTrip) {
  /** What a request makes appear in the fabric's description, or disappear when it deletes. */
  const struct {
    uint32_t operation;
    Bytes request;
    std::string shown;
  } kSteps[] = {
      // The first row makes its list, and nothing has to refer to it.
      {kSet, address(77, 2147483647, std::string(255, '\xFF')), R"("hex": "ffffff)"},
      {kDelete, address(77, 2147483647), R"("index": 77)"},
      {kSet, address(12, 1, "y", kChange), R"("address": "y", "configured": true)"},
      {kSet, platform(2, 1, "host-1", {kCreate, 0}),
       R"({"index": 1, "name": "host-1", "type": 0, "nodeNameList": 0, "mgmtAddrList": 0, )"
       R"("configured": true, "validationResult": 0})"},
      // What an imported row has already is not judged again.
      {kSet, platform(1, 2, "an odd one", {kChange, 3, 5}),
       R"("name": "an odd one", "type": 3, "nodeNameList": 5, "mgmtAddrList": 0, "configured": true)"},
      // Validation: lists with rows, lists that are not there, no lists.
      {kSet, platform(1, 1, "host-1", {kChange, kHost, 5, 12, 1}),
       R"("nodeNameList": 5, "mgmtAddrList": 12, "configured": true, "validationResult": 2)"},
      {kSet, platform(1, 1, "host-1", {kChange, kHost, 5, 99, 1}),
       R"("nodeNameList": 5, "mgmtAddrList": 99, "configured": true, "validationResult": 3)"},
      {kSet, platform(1, 1, "host-1", {kChange, kHost, 0, 0, 1}),
       R"("nodeNameList": 0, "mgmtAddrList": 0, "configured": true, "validationResult": 2)"},
      {kDelete, platform(1, 1), R"("index": 1, "name": "host-1", "type": "host")"},
      {kSet, node_name(6, "C001005e00530102"),
       R"({"name": "c0:01:00:5e:00:53:01:02", "configured": true})"},
      {kDelete, node_name(5, "2001005e00530101"), "20:01:00:5e:00:53:01:01"},
  };
  fcs::FabricStore copy(dir_.path("copy.db"), std::chrono::milliseconds(100));
  for (const auto &step : kSteps) {
    const bool deletes = step.operation == kDelete;
    EXPECT_EQ(export_text(store_).find(step.shown) == std::string::npos, !deletes) << step.shown;
    EXPECT_EQ(ask(step.operation, step.request).result, FCS_OK) << step.shown;
    const std::string after = export_text(store_);
    EXPECT_EQ(after.find(step.shown) == std::string::npos, deletes) << step.shown;
    EXPECT_EQ(import_text(copy, after), "") << step.shown;
    EXPECT_EQ(export_text(copy), after);
    EXPECT_EQ(copy.platforms(), store_.platforms()) << step.shown;
  }
}

TEST_F(ConfigurationTest, AnnouncesTheAddressesOfElements) {
  const struct {
    uint32_t operation;
    Bytes request;
    std::vector<std::pair<uint32_t, std::string>> announced;
  } kSteps[] = {
      {kSet, address(11, 2, "192.0.2.9"), {{1, "c000020900000000"}, {2, "c000020900000000"}}},
      {kSet, address(11, 2, "192.0.2.9", kChange), {}},
      {kSet,
       address(11, 2, "2001:db8:53::11", kChange),
       {{1, "20010db800530000"}, {2, "20010db800530000"}}},
      {kDelete, address(11, 2), {{1, "0000000000000000"}, {2, "0000000000000000"}}},
      {kSet, address(13, 1, "snmp://a.example.net"), {{2, "736e6d703a2f2f61"}}},
      {kSet, address(12, 2, "192.0.2.9"), {}},
  };
  for (const auto &step : kSteps) {
    EXPECT_EQ(ask(step.operation, step.request).result, FCS_OK) << &step - kSteps;
    EXPECT_EQ(announced(), step.announced) << &step - kSteps;
  }
}

TEST_F(ConfigurationTest, AFailureOfTheStoreLeavesNothingHalfDone) {
  const std::string before = export_text(store_);
  const Bytes requests[] = {platform(1, 3, "new"), address(11, 2, "192.0.2.9"),
                            node_name(6, "2001005e00530102")};
  const auto expect_failures = [&](size_t count) {
    for (size_t i = 0; i < count; ++i) {
      EXPECT_EQ(ask(kSet, requests[i]).result, FCS_ERR_STORE);
    }
    EXPECT_EQ(export_text(store_), before);
    EXPECT_TRUE(notifications_.empty());
  };
  fcs::Database other(dir_.path("fabric.db"));
  {
    const fcs::WriteTransaction busy(other);
    expect_failures(3);
  }
  // The count comes after the row; RAISE(FAIL) leaves the row to the transaction.
  other.execute("CREATE TRIGGER t BEFORE UPDATE ON vsan BEGIN SELECT RAISE(FAIL, 'broken'); END");
  expect_failures(1);
  other.execute("DROP TRIGGER t");
  for (const Bytes &request : requests) {
    EXPECT_EQ(ask(kSet, request).result, FCS_OK);
  }
  EXPECT_EQ(store_.platforms(), 3U);
  EXPECT_EQ(announced().size(), 2U);
}

} // namespace
