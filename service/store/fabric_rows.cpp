#include "fabric_rows.h"

#include <algorithm>

namespace fcs {

namespace {

constexpr KeyedTable kDiscoveryStatus = {
    "SELECT id, status, completed_seconds, completed_microseconds FROM vsan", "id", "?1"};
constexpr KeyedTable kStatistics = {
    "SELECT id, rx_get_reqs, tx_get_reqs, rx_reg_reqs, rx_dereg_reqs, tx_reg_reqs, tx_dereg_reqs,"
    " rx_rscns, tx_rscns, rejects FROM vsan",
    "id", "?1"};
constexpr KeyedTable kMgmtAddrs = {"SELECT list, address_index, address, configured FROM mgmt_addr",
                                   "list, address_index", "?1, ?2"};
constexpr KeyedTable kPlatforms = {
    "SELECT vsan, platform_index, name, type, node_name_list, mgmt_addr_list, configured,"
    " validation_result FROM platform",
    "vsan, platform_index", "?1, ?2"};
constexpr KeyedTable kNodeNames = {"SELECT list, name, configured FROM node_name", "list, name",
                                   "?1, ?2"};

/** The first row of the first VSAN after ?1 that has one. */
std::string from_next_vsan(const HidingTable &table) {
  return std::string(" FROM vsan v CROSS JOIN ") + table.table +
         " t ON t.vsan = v.id WHERE v.status <> 3 AND v.id > ?1 ORDER BY v.id, t.name LIMIT 1";
}

/** The first row of the first list after ?1. List indexes follow no order of VSANs, so each VSAN
 * is asked for its next list. */
std::string from_next_list(const HidingTable &table) {
  const std::string name = table.table;
  const std::string list = table.word;
  return " FROM " + name + " t WHERE t." + list + " = (SELECT min((SELECT min(n." + list +
         ") FROM " + name + " n WHERE n.vsan = v.id AND n." + list +
         " > ?1)) FROM vsan v WHERE v.status <> 3) ORDER BY t.name LIMIT 1";
}

constexpr HidingTable kElements = {"t.*", "element", "vsan", from_next_vsan};
constexpr HidingTable kPorts = {
    "t.vsan, t.name, t.type, t.tx_type, t.module_type, t.physical_port, t.attached_list, t.state",
    "port", "vsan", from_next_vsan};
constexpr HidingTable kPortLists = {"t.port_list, t.name", "port", "port_list", from_next_list};
constexpr HidingTable kAttachedNames = {"t.list, t.name", "attached_name", "list", from_next_list};

std::string exact_sql(const std::string &select, const std::string &key,
                      const std::string &parameters) {
  return select + " WHERE (" + key + ") = (" + parameters + ")";
}

std::string next_sql(const std::string &select, const std::string &key,
                     const std::string &parameters) {
  return select + " WHERE (" + key + ") > (" + parameters + ") ORDER BY " + key;
}

/** The columns of a row, taken in their order. */
class Columns {
public:
  explicit Columns(const Rows &rows) : rows_(rows) {}

  uint32_t word() { return rows_.word(column_++); }
  int32_t signed_word() { return static_cast<int32_t>(word()); }
  /** Octets that may fill less than `to` has room for; tells how many they are. */
  template <size_t kLength> uint8_t octets(uint8_t (&to)[kLength]) {
    const Octets from = rows_.octets(column_++);
    const size_t length = std::min(from.size(), kLength);
    std::copy_n(from.begin(), length, to);
    return static_cast<uint8_t>(length);
  }

private:
  const Rows &rows_;
  int column_ = 0;
};

fcs_disc_status_record read_discovery_status(const Rows &rows) {
  Columns columns(rows);
  fcs_disc_status_record record{};
  record.vsan = columns.word();
  record.status = columns.signed_word();
  record.completed_seconds = columns.signed_word();
  record.completed_microseconds = columns.signed_word();
  return record;
}

FcsStatsRecord read_statistics(const Rows &rows) {
  return {rows.word(0), rows.word(1), rows.word(2), rows.word(3), rows.word(4),
          rows.word(5), rows.word(6), rows.word(7), rows.word(8), rows.word(9)};
}

MgmtAddrEntry read_mgmt_addr(const Rows &rows) {
  Columns columns(rows);
  MgmtAddrEntry entry{};
  entry.list_index = columns.signed_word();
  entry.address_index = columns.signed_word();
  entry.address_length = columns.octets(entry.address);
  entry.config_source = columns.word();
  entry.row_status = FCS_ROW_ACTIVE;
  return entry;
}

FcsPortListRecord read_port_list_entry(const Rows &rows) {
  Columns columns(rows);
  FcsPortListRecord record{};
  record.list_index = columns.word();
  columns.octets(record.port_name);
  return record;
}

FcsPortRecord read_port(const Rows &rows) {
  Columns columns(rows);
  FcsPortRecord record{};
  record.vsan = columns.word();
  columns.octets(record.name);
  record.type = columns.word();
  record.tx_type = columns.word();
  record.module_type = columns.word();
  record.physical_port = columns.word();
  record.attached_list_index = columns.word();
  record.state = columns.word();
  return record;
}

FcsAttachPortRecord read_attached_name(const Rows &rows) {
  Columns columns(rows);
  FcsAttachPortRecord record{};
  record.list_index = columns.word();
  columns.octets(record.name);
  return record;
}

PlatformEntry read_platform(const Rows &rows) {
  Columns columns(rows);
  PlatformEntry entry{};
  entry.vsan = columns.signed_word();
  entry.platform_index = columns.signed_word();
  entry.name_length = columns.octets(entry.name);
  entry.type = columns.word();
  entry.node_name_list_index = columns.word();
  entry.mgmt_addr_list_index = columns.word();
  entry.config_source = columns.word();
  entry.validation_result = columns.word();
  entry.row_status = FCS_ROW_ACTIVE;
  return entry;
}

NodeNameEntry read_node_name(const Rows &rows) {
  Columns columns(rows);
  NodeNameEntry entry{};
  entry.list_index = columns.signed_word();
  columns.octets(entry.name);
  entry.config_source = columns.word();
  return entry;
}

std::string hiding_key(const HidingTable &table) {
  return std::string("t.") + table.word + ", t.name";
}

std::string hiding_select(const HidingTable &table) {
  return std::string("SELECT ") + table.columns + ", t.local = 0 AND v.status = 3 FROM " +
         table.table + " t CROSS JOIN vsan v ON v.id = t.vsan";
}

/** Only the rows of local elements: a table that can be asked for the next row like any other. */
std::string local_select(const HidingTable &table) {
  return std::string("SELECT ") + table.columns + " FROM (SELECT * FROM " + table.table +
         " WHERE local = 1) t";
}

/** A key's index word as the unsigned number that SNMP orders by. */
uint32_t unsigned_word(int32_t word) {
  return static_cast<uint32_t>(word);
}

} // namespace

KeyedRows::KeyedRows(Database &database, const KeyedTable &table)
    : statements_{{database, exact_sql(table.select, table.key, table.parameters)},
                  {database, next_sql(table.select, table.key, table.parameters)}} {}

HidingRows::HidingRows(Database &database, const HidingTable &table)
    : database_(database),
      statements_{{database, exact_sql(hiding_select(table), hiding_key(table), "?1, ?2")},
                  {database, next_sql(hiding_select(table), hiding_key(table), "?1, ?2")}},
      next_local_(database, next_sql(local_select(table), hiding_key(table), "?1, ?2")),
      next_discovered_(database,
                       std::string("SELECT ") + table.columns + table.from_next_discovered(table)) {
  static_assert(FCS_DISCOVERY_LOCAL_ONLY == 3);
}

bool HidingRows::is_hidden(const Rows &rows) {
  return rows.integer(rows.columns() - 1) != 0;
}

const Rows *HidingRows::earlier(Rows &a, Rows &b) {
  const bool has_a = a.next();
  const bool has_b = b.next();
  if (!has_a || !has_b) {
    return has_a ? &a : has_b ? &b : nullptr;
  }
  const bool b_first = a.word(0) != b.word(0)
                           ? b.word(0) < a.word(0)
                           : std::ranges::lexicographical_compare(b.octets(1), a.octets(1));
  return b_first ? &b : &a;
}

FabricRows::FabricRows(Database &database)
    : discovery_status_(database, kDiscoveryStatus), mgmt_addrs_(database, kMgmtAddrs),
      platforms_(database, kPlatforms), node_names_(database, kNodeNames),
      statistics_(database, kStatistics), elements_(database, kElements),
      port_lists_(database, kPortLists), ports_(database, kPorts),
      attached_names_(database, kAttachedNames) {}

size_t FabricRows::find_discovery_status(Lookup lookup, const uint32_t &vsan,
                                         std::span<fcs_disc_status_record> room) {
  return discovery_status_.find(lookup, read_discovery_status, room, vsan);
}

size_t FabricRows::find_element(Lookup lookup, const IeKey &key, std::span<IeEntry> room) {
  return elements_.find(lookup, read_element, room, key.vsan, Octets(key.name));
}

size_t FabricRows::find_mgmt_addr(Lookup lookup, const MgmtAddrEntry &key,
                                  std::span<MgmtAddrEntry> room) {
  return mgmt_addrs_.find(lookup, read_mgmt_addr, room, unsigned_word(key.list_index),
                          unsigned_word(key.address_index));
}

size_t FabricRows::find_port_list_entry(Lookup lookup, const FcsPortListRecord &key,
                                        std::span<FcsPortListRecord> room) {
  return port_lists_.find(lookup, read_port_list_entry, room, key.list_index,
                          Octets(key.port_name));
}

size_t FabricRows::find_port(Lookup lookup, const FcsPortKey &key, std::span<FcsPortRecord> room) {
  return ports_.find(lookup, read_port, room, key.vsan, Octets(key.name));
}

size_t FabricRows::find_attached_name(Lookup lookup, const FcsAttachPortRecord &key,
                                      std::span<FcsAttachPortRecord> room) {
  return attached_names_.find(lookup, read_attached_name, room, key.list_index, Octets(key.name));
}

size_t FabricRows::find_platform(Lookup lookup, const PlatformKey &key,
                                 std::span<PlatformEntry> room) {
  return platforms_.find(lookup, read_platform, room, unsigned_word(key.vsan),
                         unsigned_word(key.platform_index));
}

size_t FabricRows::find_node_name(Lookup lookup, const NodeNameEntry &key,
                                  std::span<NodeNameEntry> room) {
  return node_names_.find(lookup, read_node_name, room, unsigned_word(key.list_index),
                          Octets(key.name));
}

size_t FabricRows::find_statistics(Lookup lookup, const uint32_t &vsan,
                                   std::span<FcsStatsRecord> room) {
  return statistics_.find(lookup, read_statistics, room, vsan);
}

IeEntry read_element(const Rows &rows) {
  Columns columns(rows);
  IeEntry entry{};
  entry.vsan = columns.word();
  columns.octets(entry.name);
  entry.type = columns.word();
  entry.domain_id = columns.word();
  columns.octets(entry.mgmt_id);
  columns.octets(entry.fabric_name);
  entry.logical_name_length = columns.octets(entry.logical_name);
  entry.mgmt_addr_list_index = columns.word();
  columns.octets(entry.info_list);
  entry.port_list_index = columns.word();
  return entry;
}

} // namespace fcs
