#include "fixtures.h"

#include "service/fabric_writer.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <map>
#include <random>
#include <set>

namespace {

/** A key in the order of SNMP: its words most significant octet first, then its name. */
using Key = std::vector<uint8_t>;
using Keys = std::set<Key>;

Key key_of(std::initializer_list<uint32_t> words, fcs::Octets name = {}) {
  Key key;
  for (const uint32_t word : words) {
    for (const int shift : {24, 16, 8, 0}) {
      key.push_back(static_cast<uint8_t>(word >> shift));
    }
  }
  key.insert(key.end(), name.begin(), name.end());
  return key;
}

/** A record that is served by key, and how its key lies in its request and in its answer. */
struct Table {
  uint32_t id;
  size_t words;          ///< Of the key.
  size_t name_length;    ///< Of the key.
  size_t request_length; ///< What follows the key is of no account.
  size_t answer_length;
  bool ends_by_record;
};

constexpr Table kElements = {20, 1, 8, sizeof(IeKey), sizeof(IeEntry), true};
constexpr Table kMgmtAddrs = {30, 2, 0, sizeof(MgmtAddrEntry), sizeof(MgmtAddrEntry), false};
constexpr Table kPortLists = {40, 1, 8, sizeof(FcsPortListRecord), sizeof(FcsPortListRecord), true};
constexpr Table kPorts = {50, 1, 8, sizeof(FcsPortKey), sizeof(FcsPortRecord), false};
constexpr Table kAttachedNames = {
    60, 1, 12, sizeof(FcsAttachPortRecord), sizeof(FcsAttachPortRecord), true};
constexpr Table kPlatforms = {70, 2, 0, sizeof(PlatformKey), sizeof(PlatformEntry), false};
constexpr Table kNodeNames = {80, 1, 8, sizeof(NodeNameEntry), sizeof(NodeNameEntry), false};

class Rows : public ServedStore {
protected:
  /** Asks with the key and what has been left behind it; words are native in requests. */
  fcs::Answer ask(const Table &table, uint32_t operation, const Key &key) {
    std::vector<uint8_t> request(sizeof(uint32_t) + table.request_length, 0xEE);
    std::memcpy(request.data(), &table.id, sizeof(table.id));
    for (size_t i = 0; i < key.size(); ++i) {
      const size_t in_words = i < table.words * 4 && kLittle ? i - i % 4 + 3 - i % 4 : i;
      request[sizeof(uint32_t) + in_words] = key[i];
    }
    return ServedStore::ask(operation, request);
  }

  Key answered_key(const Table &table) const {
    Key key;
    for (size_t i = 0; i < table.words; ++i) {
      uint32_t word = 0;
      std::memcpy(&word, &room_[i * 4], sizeof(word));
      const Key part = key_of({word});
      key.insert(key.end(), part.begin(), part.end());
    }
    const auto *name = room_.data() + table.words * 4;
    key.insert(key.end(), name, name + table.name_length);
    return key;
  }

  /** The row of the key is there or not, and behind the key comes the next row, or the end. */
  void expect_around(const Table &table, const Key &key, const Keys &rows) {
    const std::string shown = std::to_string(table.id) + " " + fcs::to_hex(key, "");
    const fcs::Answer exact = ask(table, FCS_OP_GET, key);
    if (rows.contains(key)) {
      EXPECT_EQ(exact.result, FCS_OK) << shown;
      EXPECT_EQ(answered_key(table), key) << shown;
    } else {
      EXPECT_EQ(exact.result, FCS_ERR_NO_SUCH_ROW) << shown;
    }
    const fcs::Answer next = ask(table, FCS_OP_GETNEXT, key);
    const auto wanted = rows.upper_bound(key);
    if (wanted == rows.end() && !table.ends_by_record) {
      EXPECT_EQ(next.result, FCS_ERR_NO_SUCH_ROW) << shown;
      return;
    }
    EXPECT_EQ(next.result, FCS_OK) << shown;
    EXPECT_EQ(next.length, table.answer_length) << shown;
    if (wanted != rows.end()) {
      EXPECT_EQ(answered_key(table), *wanted) << shown;
      return;
    }
    EXPECT_TRUE(std::all_of(room_.begin(), room_.begin() + 4, [](auto o) { return o == 0xFF; }));
    EXPECT_TRUE(std::all_of(room_.begin() + 4, room_.begin() + static_cast<long>(next.length),
                            [](auto octet) { return octet == 0; }));
  }

  /** Around every row, around those that may not show, and at both ends. */
  void expect_rows(const Table &table, const Keys &rows, const Keys &hidden = {}) {
    Keys probes = rows;
    probes.insert(hidden.begin(), hidden.end());
    const size_t length = table.words * 4 + table.name_length;
    probes.insert(Key(length, 0));
    probes.insert(Key(length, 0xFF));
    for (const Key &probe : Keys(probes)) {
      Key name_last = probe;
      std::fill(name_last.begin() + 4, name_last.end(), 0xFF);
      probes.insert(name_last);
    }
    for (const Key &probe : probes) {
      expect_around(table, probe, rows);
    }
  }

  template <typename Record> Record record(const Table &table, const Key &key) {
    return ServedStore::record<Record>(ask(table, FCS_OP_GET, key));
  }

  static constexpr bool kLittle = std::endian::native == std::endian::little;
};

/** A fabric whose names and list indexes come in no order, and what of it can be seen. */
class RandomFabric {
public:
  RandomFabric(fcs::FabricStore &store, uint32_t seed) : random_(seed), writer_(store) {
    for (uint32_t i = 1; i <= 1000; ++i) {
      lists_.push_back(i * 0x00400000U);
    }
    std::shuffle(lists_.begin(), lists_.end(), random_);
    for (uint32_t vsan = 1; vsan <= 24; ++vsan) {
      add_vsan(vsan * 0x0A000000U);
    }
    writer_.commit();
  }

  /** By record id: the rows that can be seen, and those that are hidden. */
  std::map<uint32_t, Keys> visible, hidden;

private:
  uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random_() % limit); }

  uint32_t take_list() {
    const uint32_t list = lists_.back();
    lists_.pop_back();
    return list;
  }

  fcs::Wwn name() {
    fcs::Wwn wwn{};
    for (uint8_t &octet : wwn) {
      octet = static_cast<uint8_t>(random_());
    }
    return wwn;
  }

  void note(uint32_t id, bool shown, uint32_t word, fcs::Octets key_name) {
    (shown ? visible : hidden)[id].insert(key_of({word}, key_name));
  }

  void add_vsan(uint32_t id) {
    fcs::Vsan vsan{};
    const bool local_only = below(3) != 0;
    vsan.discovery = {id, local_only ? FCS_DISCOVERY_LOCAL_ONLY : FCS_DISCOVERY_COMPLETED, 0, 0};
    writer_.add(vsan);
    const uint32_t local = below(4);
    for (uint32_t i = below(4); i > 0; --i) {
      add_element(id, i == local, i == local || !local_only);
    }
    writer_.count_rows(id);
  }

  void add_element(uint32_t vsan, bool local, bool shown) {
    fcs::Element element{};
    element.entry.vsan = vsan;
    std::ranges::copy(name(), element.entry.name);
    element.local = local;
    element.entry.port_list_index = take_list();
    writer_.add(element);
    note(20, shown, vsan, element.entry.name);
    for (uint32_t i = below(5); i > 0; --i) {
      fcs::Port port{};
      port.vsan = vsan;
      port.name = name();
      port.port_list = element.entry.port_list_index;
      port.local = local;
      port.attached_list = take_list();
      writer_.add(port);
      note(40, shown, port.port_list, port.name);
      note(50, shown, vsan, port.name);
      for (uint32_t k = below(3); k > 0; --k) {
        std::array<uint8_t, FCS_ATTACHED_NAME_LENGTH> attached{};
        std::ranges::copy(name(), attached.begin() + 2);
        writer_.add_attached_name(port, attached);
        note(60, shown, port.attached_list, attached);
      }
    }
  }

  std::mt19937 random_;
  fcs::FabricWriter writer_;
  std::vector<uint32_t> lists_;
};

TEST_F(Rows, LocalOnlyVsansHideWhatIsNotLocal) {
  for (uint32_t seed = 1; seed <= 12; ++seed) {
    RandomFabric fabric(store_, seed);
    for (const Table &table : {kElements, kPortLists, kPorts, kAttachedNames}) {
      expect_rows(table, fabric.visible[table.id], fabric.hidden[table.id]);
    }
    EXPECT_EQ(store_.visible_elements(), fabric.visible[20].size());
    EXPECT_EQ(store_.visible_ports(), fabric.visible[50].size());
    EXPECT_EQ(store_.totals().elements, fabric.visible[20].size() + fabric.hidden[20].size());
    EXPECT_EQ(store_.totals().ports, fabric.visible[50].size() + fabric.hidden[50].size());
    EXPECT_FALSE(fabric.hidden[60].empty());
    EXPECT_FALSE(fabric.visible[60].empty());
    if (HasFailure()) {
      FAIL() << "with seed " << seed;
    }
  }
}

constexpr fcs::Wwn kLowName = {0x20, 0, 0, 0, 0x5e, 0, 0x53, 0x7F};
constexpr fcs::Wwn kMiddleName = {0x20, 0, 0, 0, 0x5e, 0, 0x53, 0x80};
constexpr fcs::Wwn kHighName = {0xC0, 0, 0, 0, 0x5e, 0, 0x53, 0x01};

TEST_F(Rows, PlatformsNodeNamesAndAddressesAreAlwaysVisibleInUnsignedOrder) {
  Keys platforms;
  Keys node_names;
  Keys addresses;
  {
    fcs::FabricWriter writer(store_);
    for (const uint32_t word : {0x90000000U, 7U, 0x7FFFFFFFU, 255U, 256U}) {
      fcs::Vsan vsan{};
      vsan.discovery = {word, FCS_DISCOVERY_LOCAL_ONLY, 0, 0};
      writer.add(vsan);
      for (const uint32_t index : {0xFFFFFFFEU, 1U, 0x80000000U}) {
        fcs::Platform platform{};
        platform.vsan = word;
        platform.index = index;
        writer.add(platform);
        platforms.insert(key_of({word, index}));
        writer.add(fcs::MgmtAddr{word, index, "", false});
        addresses.insert(key_of({word, index}));
      }
    }
    const std::pair<uint32_t, fcs::Wwn> kNames[] = {
        {0xFFFFFFFE, kLowName}, {2, kHighName}, {2, kMiddleName}, {3, {}}};
    for (const auto &[list, name] : kNames) {
      writer.add(fcs::NodeName{list, name, false});
      node_names.insert(key_of({list}, name));
    }
    writer.commit();
  }
  expect_rows(kPlatforms, platforms);
  expect_rows(kMgmtAddrs, addresses);
  expect_rows(kNodeNames, node_names);
}

TEST_F(Rows, EmptyTablesEndAtOnce) {
  for (const Table &table :
       {kElements, kMgmtAddrs, kPortLists, kPorts, kAttachedNames, kPlatforms, kNodeNames}) {
    expect_rows(table, {});
  }
}

TEST_F(Rows, RecordsCarryEveryField) {
  std::string long_text(255, 'x');
  long_text.back() = '\xFF';
  {
    fcs::FabricWriter writer(store_);
    fcs::Vsan vsan{};
    vsan.discovery = {5, FCS_DISCOVERY_COMPLETED, 0, 0};
    writer.add(vsan);
    writer.add(fcs::Port{5, kHighName, 31, false, 0xFFFFFFFF, 9, 8, 7, 6, 77});
    writer.add(fcs::Platform{5, 1, long_text, 14, 21, 22, true, 3});
    writer.add(fcs::Platform{5, 2, "", 1, 0, 0, false, 1});
    writer.add(fcs::NodeName{4, kLowName, true});
    writer.add(fcs::NodeName{4, kHighName, false});
    writer.add(fcs::MgmtAddr{4, 1, long_text, true});
    writer.add(fcs::MgmtAddr{4, 2, "", false});
    writer.commit();
  }
  const auto port = record<FcsPortRecord>(kPorts, key_of({5}, kHighName));
  const FcsPortRecord wanted_port = {5, {0xC0, 0, 0, 0, 0x5e, 0, 0x53, 1}, 0xFFFFFFFF, 9, 8, 7, 6,
                                     77};
  EXPECT_EQ(std::memcmp(&port, &wanted_port, sizeof(port)), 0);

  const auto platform = record<PlatformEntry>(kPlatforms, key_of({5, 1}));
  EXPECT_EQ(platform.name_length, 255);
  EXPECT_EQ(fcs::text_of(platform.name), long_text);
  const std::array<uint32_t, 7> kPlatformWords = {14, 21, 22, 1, 3, 0, 1};
  EXPECT_EQ(std::memcmp(&platform.type, kPlatformWords.data(), sizeof(kPlatformWords)), 0);
  const auto plain = record<PlatformEntry>(kPlatforms, key_of({5, 2}));
  EXPECT_EQ(plain.name_length, 0);
  EXPECT_EQ(plain.name[0], 0);
  EXPECT_EQ(plain.config_source, 0U);

  const auto name = record<NodeNameEntry>(kNodeNames, key_of({4}, kLowName));
  EXPECT_EQ(name.config_source, 1U);
  EXPECT_EQ(name.reserved, 0U);
  EXPECT_EQ(record<NodeNameEntry>(kNodeNames, key_of({4}, kHighName)).config_source, 0U);

  const auto address = record<MgmtAddrEntry>(kMgmtAddrs, key_of({4, 1}));
  EXPECT_EQ(address.address_length, 255);
  EXPECT_EQ(fcs::text_of(address.address), long_text);
  EXPECT_EQ(address.config_source, 1U);
  EXPECT_EQ(address.row_status, 1U);
  const auto empty = record<MgmtAddrEntry>(kMgmtAddrs, key_of({4, 2}));
  EXPECT_EQ(empty.address_length, 0);
  // Nothing of the request comes back.
  EXPECT_EQ(empty.address[0], 0);
  EXPECT_EQ(empty.config_source, 0U);
}

} // namespace
