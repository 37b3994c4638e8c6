#include "fixtures.h"

#include "service/store/fabric_writer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <random>
#include <set>

namespace {

/** Of a key of one word the second is 0. GCC 12 compares vectors of words wrongly on s390x. */
using Words = std::array<uint32_t, 2>;

/** The words and the name of a key; keys compare as SNMP orders them. */
using Key = std::pair<Words, Bytes>;
using Keys = std::set<Key>;

Key key_of(const Words &words, fcs::Octets name = {}) {
  return {words, Bytes(name.begin(), name.end())};
}

/** A record that is served by key; requests and answers begin with the key. */
struct Table {
  uint32_t id;
  size_t words;          ///< Of the key.
  size_t name_length;    ///< Of the key.
  size_t request_length; ///< What follows the key is of no account.
  bool ends_by_record;
};

constexpr Table kVsans = {10, 1, 0, 4, true};
constexpr Table kElements = {20, 1, 8, 12, true};
constexpr Table kMgmtAddrs = {30, 2, 0, sizeof(MgmtAddrEntry), false};
constexpr Table kPortLists = {40, 1, 8, 12, true};
constexpr Table kPorts = {50, 1, 8, 12, false};
constexpr Table kAttachedNames = {60, 1, 12, 16, true};
constexpr Table kPlatforms = {70, 2, 0, 8, false};
constexpr Table kNodeNames = {80, 1, 8, sizeof(NodeNameEntry), false};
constexpr Table kStatistics = {90, 1, 0, 4, false};

class Rows : public ServedStore {
protected:
  /** Asks with the key and what has been left behind it. */
  fcs::Answer ask(const Table &table, uint32_t operation, const Key &key, uint32_t rows = 1) {
    Bytes request(sizeof(uint32_t) + table.request_length, 0xEE);
    std::memcpy(request.data(), &table.id, sizeof(uint32_t));
    std::memcpy(&request[sizeof(uint32_t)], key.first.data(), table.words * sizeof(uint32_t));
    std::ranges::copy(key.second, &request[(1 + table.words) * sizeof(uint32_t)]);
    return ServedStore::ask(operation, request, rows);
  }

  /** The key of an answer's first record, or of one further on. */
  Key answered_key(const Table &table, size_t at = 0) const {
    Words words{};
    const size_t length = table.words * sizeof(uint32_t);
    std::memcpy(words.data(), &room_[at], length);
    return key_of(words, fcs::Octets(&room_[at + length], table.name_length));
  }

  /** Several rows of an answer are those that asking for one after the other tells, as many as are
   * asked for and fit, and the end as the table tells it. */
  void expect_rows_behind(const Table &table, uint32_t operation, const Key &key, const Keys &rows,
                          uint32_t asked) {
    const fcs::Answer answer = ask(table, operation, key, asked);
    auto wanted = operation == FCS_OP_GET ? rows.lower_bound(key) : rows.upper_bound(key);
    if (wanted == rows.end() && !table.ends_by_record) {
      EXPECT_EQ(answer.result, FCS_ERR_NO_SUCH_ROW);
      return;
    }
    ASSERT_EQ(answer.result, FCS_OK);
    ASSERT_GE(answer.rows, 1U);
    const size_t length = answer.length / answer.rows;
    uint32_t got = 0;
    for (; got < answer.rows && wanted != rows.end(); ++got, ++wanted) {
      EXPECT_EQ(answered_key(table, got * length), *wanted);
    }
    const bool full = got == asked || (got + 1) * length > room_.size();
    const bool ended = wanted == rows.end() && !full;
    EXPECT_TRUE(full || ended) << got << " of " << asked;
    EXPECT_EQ(answer.rows, got + (ended && table.ends_by_record ? 1 : 0));
    EXPECT_EQ(answer.end, ended && !table.ends_by_record ? FCS_ERR_NO_SUCH_ROW : 0);
    if (answer.rows > got) {
      EXPECT_EQ(answered_key(table, got * length).first[0], FCS_END_OF_TABLE);
    }
  }

  /** The row of the key is there or not, and behind the key comes the next row, or the end. */
  void expect_around(const Table &table, const Key &key, const Keys &rows) {
    SCOPED_TRACE(testing::PrintToString(key) + " of " + std::to_string(table.id));
    const bool is_row = rows.contains(key);
    EXPECT_EQ(ask(table, FCS_OP_GET, key).result, is_row ? FCS_OK : FCS_ERR_NO_SUCH_ROW);
    EXPECT_EQ(answered_key(table) == key, is_row);
    const fcs::Answer next = ask(table, FCS_OP_GETNEXT, key);
    const auto wanted = rows.upper_bound(key);
    if (wanted == rows.end() && !table.ends_by_record) {
      EXPECT_EQ(next.result, FCS_ERR_NO_SUCH_ROW);
      return;
    }
    EXPECT_EQ(next.result, FCS_OK);
    if (wanted != rows.end()) {
      EXPECT_EQ(answered_key(table), *wanted);
      return;
    }
    ASSERT_GE(next.length, sizeof(FCS_END_OF_TABLE));
    Bytes end(next.length, 0);
    std::fill_n(end.begin(), sizeof(FCS_END_OF_TABLE), 0xFF);
    EXPECT_TRUE(std::equal(end.begin(), end.end(), room_.begin()));
  }

  /** Around every row, around those that may not show, and at both ends. */
  void expect_rows(const Table &table, const Keys &rows, const Keys &hidden) {
    Keys probes = rows;
    probes.insert(hidden.begin(), hidden.end());
    for (const uint8_t octet : {uint8_t{0x00}, uint8_t{0xFF}}) {
      Words words{};
      std::fill_n(words.begin(), table.words, octet * 0x01010101U);
      probes.insert({words, Bytes(table.name_length, octet)});
    }
    for (Key rest_last : Keys(probes)) {
      std::fill_n(rest_last.first.begin() + 1, table.words - 1, 0xFFFFFFFF);
      std::ranges::fill(rest_last.second, 0xFF);
      probes.insert(rest_last);
    }
    for (const Key &probe : probes) {
      expect_around(table, probe, rows);
      for (const uint32_t asked : {2U, 7U, 1000U}) {
        expect_rows_behind(table, FCS_OP_GETNEXT, probe, rows, asked);
        if (rows.contains(probe)) {
          expect_rows_behind(table, FCS_OP_GET, probe, rows, asked);
        }
      }
    }
  }

  template <typename Record>
  void expect_record(const Table &table, const Key &key, const Record &wanted) {
    const auto row = record<Record>(ask(table, FCS_OP_GET, key));
    EXPECT_EQ(std::memcmp(&row, &wanted, sizeof(row)), 0) << table.id;
  }
};

/** A fabric whose names and list indexes come in no order, and what of it can be seen. */
class RandomFabric {
public:
  RandomFabric(fcs::FabricStore &store, uint32_t seed) : random_(seed), writer_(store) {
    for (uint32_t vsan = 1; vsan <= 24; ++vsan) {
      add_vsan(vsan * 0x0A000000U);
    }
    writer_.commit();
  }

  /** By record id: the rows that can be seen, and those that are hidden. */
  std::map<uint32_t, Keys> visible, hidden;
  uint32_t rejects = 0; ///< Modulo 2^32.

private:
  uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random_() % limit); }

  /** No two are the same, as this steps through all words. */
  uint32_t take_list() { return last_list_ += 0x9E3779B1; }

  fcs::Wwn name() {
    fcs::Wwn wwn{};
    for (uint8_t &octet : wwn) {
      octet = static_cast<uint8_t>(random_());
    }
    return wwn;
  }

  void note(const Table &table, bool shown, uint32_t word, fcs::Octets key_name) {
    (shown ? visible : hidden)[table.id].insert(key_of({word}, key_name));
  }

  void add_vsan(uint32_t id) {
    const bool local_only = below(3) != 0;
    const auto status = local_only ? FCS_DISCOVERY_LOCAL_ONLY : FCS_DISCOVERY_COMPLETED;
    fcs::Vsan vsan{{id, status, 0, 0}, 0, {}};
    rejects += vsan.statistics.rejects = static_cast<uint32_t>(random_());
    writer_.add(vsan);
    note(kVsans, true, id, {});
    note(kStatistics, true, id, {});
    const uint32_t local = below(4);
    for (uint32_t i = below(4); i > 0; --i) {
      add_element(id, i == local, i == local || !local_only);
      add_unhidden(id);
    }
    writer_.count_rows(id);
  }

  /** Rows that no discovery status hides. */
  void add_unhidden(uint32_t vsan) {
    const auto index = static_cast<uint32_t>(random_());
    writer_.add(PlatformEntry{static_cast<int32_t>(vsan), static_cast<int32_t>(index)});
    visible[kPlatforms.id].insert(key_of({vsan, index}));
    writer_.add(MgmtAddrEntry{static_cast<int32_t>(index), static_cast<int32_t>(vsan)});
    visible[kMgmtAddrs.id].insert(key_of({index, vsan}));
    NodeNameEntry node{static_cast<int32_t>(index)};
    std::ranges::copy(name(), node.name);
    writer_.add(node);
    note(kNodeNames, true, index, node.name);
  }

  void add_element(uint32_t vsan, bool local, bool shown) {
    fcs::Element element{};
    element.vsan = vsan;
    std::ranges::copy(name(), element.name);
    element.local = local;
    element.port_list_index = take_list();
    writer_.add(element);
    note(kElements, shown, vsan, element.name);
    for (uint32_t i = below(5); i > 0; --i) {
      const uint32_t list = element.port_list_index;
      fcs::Port port{{vsan}, list, local};
      std::ranges::copy(name(), port.name);
      port.attached_list_index = take_list();
      writer_.add(port);
      note(kPortLists, shown, list, port.name);
      note(kPorts, shown, vsan, port.name);
      for (uint32_t k = below(3); k > 0; --k) {
        fcs::AttachedName attached{{port.attached_list_index}, vsan, local};
        std::ranges::copy(name(), attached.name + 2);
        writer_.add(attached);
        note(kAttachedNames, shown, port.attached_list_index, attached.name);
      }
    }
  }

  std::mt19937 random_;
  fcs::FabricWriter writer_;
  uint32_t last_list_ = 0;
};

TEST_F(Rows, ComeInUnsignedOrderAndLocalOnlyVsansHideWhatIsNotLocal) {
  for (uint32_t seed = 1; seed <= 12; ++seed) {
    RandomFabric fabric(store_, seed);
    auto &visible = fabric.visible;
    auto &hidden = fabric.hidden;
    for (const Table &table : {kVsans, kElements, kMgmtAddrs, kPortLists, kPorts, kAttachedNames,
                               kPlatforms, kNodeNames, kStatistics}) {
      EXPECT_FALSE(visible[table.id].empty());
      expect_rows(table, visible[table.id], hidden[table.id]);
    }
    EXPECT_FALSE(hidden[kAttachedNames.id].empty());
    const std::pair<FcsRecordId, size_t> kWords[] = {
        {FCS_REC_TOTAL_REJECTS, fabric.rejects},
        {FCS_REC_IE_COUNT, visible[kElements.id].size()},
        {FCS_REC_PORT_COUNT, visible[kPorts.id].size()},
        {FCS_REC_PLATFORM_COUNT, visible[kPlatforms.id].size()}};
    for (const auto &[id, wanted] : kWords) {
      EXPECT_EQ(record<uint32_t>(ServedStore::ask(FCS_OP_GET, words({id}))), wanted) << id;
    }
    EXPECT_EQ(store_.totals().elements, visible[kElements.id].size() + hidden[kElements.id].size());
    EXPECT_EQ(store_.totals().ports, visible[kPorts.id].size() + hidden[kPorts.id].size());
    if (HasFailure()) {
      FAIL() << "with seed " << seed;
    }
  }
}

TEST_F(Rows, RecordsCarryEveryField) {
  constexpr fcs::Wwn kName = {0xC0, 0, 0, 0, 0x5e, 0, 0x53, 1};
  std::string text(255, 'x');
  text.back() = '\xFF';
  const fcs::Vsan vsan{
      {5, FCS_DISCOVERY_COMPLETED, 1714557605, 250}, 0, {5, 1, 2, 3, 4, 5, 6, 7, 8, 0xFFFFFFFF}};
  const FcsPortRecord port{5, {0xC0, 0, 0, 0, 0x5e, 0, 0x53, 1}, 0xFFFFFFFF, 9, 8, 7, 6, 77};
  IeEntry element{5, {0xC0, 0, 0, 0, 0x5e, 0, 0x53, 1}, 3, 239, {0, 0xFF, 0xFC, 9}};
  std::ranges::copy(kName, element.fabric_name);
  element.logical_name_length = 255;
  std::ranges::copy(text, element.logical_name);
  element.mgmt_addr_list_index = 11;
  element.info_list[2] = 'Z';
  element.port_list_index = 31;
  PlatformEntry platform{5, 1, 255, {}, 14, 21, 22, 1, FCS_INVALID, 0, FCS_ROW_ACTIVE};
  std::ranges::copy(text, platform.name);
  MgmtAddrEntry address{4, 1, 255, {}, 1, FCS_ROW_ACTIVE};
  std::ranges::copy(text, address.address);
  const PlatformEntry nameless{5, 2, 0, {}, 1, 0, 0, 0, FCS_NOT_VALIDATED, 0, FCS_ROW_ACTIVE};
  const NodeNameEntry node{4, {0xC0, 0, 0, 0, 0x5e, 0, 0x53, 1}, 1, 0};
  const MgmtAddrEntry no_address{4, 2, 0, {}, 0, FCS_ROW_ACTIVE};
  {
    fcs::FabricWriter writer(store_);
    writer.add(vsan);
    writer.add(fcs::Element{element, true});
    writer.add(fcs::Port{port, 31, true});
    writer.add(platform);
    writer.add(nameless);
    writer.add(node);
    writer.add(address);
    writer.add(no_address);
    writer.commit();
  }
  expect_record(kVsans, key_of({5}), vsan.discovery);
  expect_record(kStatistics, key_of({5}), vsan.statistics);
  expect_record(kElements, key_of({5}, kName), element);
  expect_record(kPorts, key_of({5}, kName), port);
  expect_record(kPlatforms, key_of({5, 1}), platform);
  expect_record(kPlatforms, key_of({5, 2}), nameless);
  expect_record(kNodeNames, key_of({4}, kName), node);
  expect_record(kMgmtAddrs, key_of({4, 1}), address);
  // Nothing of the request comes back.
  expect_record(kMgmtAddrs, key_of({4, 2}), no_address);
}

} // namespace
