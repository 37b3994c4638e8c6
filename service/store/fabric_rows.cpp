#include "fabric_rows.h"

#include <algorithm>

namespace fcs {

namespace {

/** The rows of a table, which queries call t; the first `key` columns are their key. */
template <typename Row> KeyedTable keyed_table(const char *table, size_t key) {
  return {table, column_names<Row>("t."), column_names<Row>("t.", 1), column_names<Row>("t.", key),
          key == 1 ? "?1" : "?1, ?2"};
}

std::string exact_sql(const KeyedTable &table, const std::string &select) {
  return select + " WHERE (" + table.key + ") = (" + table.parameters + ")";
}

std::string next_sql(const KeyedTable &table, const std::string &select) {
  return select + " WHERE (" + table.key + ") > (" + table.parameters + ") ORDER BY " + table.key;
}

std::string select_all(const KeyedTable &table) {
  return "SELECT " + table.columns + " FROM " + table.name + " t";
}

std::string select_hiding(const KeyedTable &table) {
  return "SELECT " + table.columns + ", t.local = 0 AND v.status = 3 FROM " + table.name +
         " t CROSS JOIN vsan v ON v.id = t.vsan";
}

/** Only the rows of local elements: a table that can be asked for the next row like any other. */
std::string select_local(const KeyedTable &table) {
  return "SELECT " + table.columns + " FROM (SELECT * FROM " + table.name + " WHERE local = 1) t";
}

/** The first row of the first VSAN after ?1 that has one. */
std::string select_from_next_vsan(const KeyedTable &table) {
  return "SELECT " + table.columns + " FROM vsan v CROSS JOIN " + table.name +
         " t ON t.vsan = v.id WHERE v.status <> 3 AND v.id > ?1 ORDER BY v.id, t.name LIMIT 1";
}

/** The first row of the first list after ?1. List indexes follow no order of VSANs, so each VSAN
 * is asked for its next list. */
std::string select_from_next_list(const KeyedTable &table) {
  return select_all(table) + " WHERE " + table.word + " = (SELECT min((SELECT min(" + table.word +
         ") FROM " + table.name + " t WHERE t.vsan = v.id AND " + table.word +
         " > ?1)) FROM vsan v WHERE v.status <> 3) ORDER BY t.name LIMIT 1";
}

} // namespace

KeyedRows::KeyedRows(Database &database, const KeyedTable &table)
    : statements_{{database, exact_sql(table, select_all(table))},
                  {database, next_sql(table, select_all(table))}} {}

HidingRows::HidingRows(Database &database, const KeyedTable &table,
                       std::string (*select_next_discovered)(const KeyedTable &))
    : database_(database), statements_{{database, exact_sql(table, select_hiding(table))},
                                       {database, next_sql(table, select_hiding(table))}},
      next_local_(database, next_sql(table, select_local(table))),
      next_discovered_(database, select_next_discovered(table)) {
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
    : discovery_status_(database, keyed_table<fcs_disc_status_record>("vsan", 1)),
      mgmt_addrs_(database, keyed_table<MgmtAddrEntry>("mgmt_addr", 2)),
      platforms_(database, keyed_table<PlatformEntry>("platform", 2)),
      node_names_(database, keyed_table<NodeNameEntry>("node_name", 2)),
      statistics_(database, keyed_table<FcsStatsRecord>("vsan", 1)),
      elements_(database, keyed_table<IeEntry>("element", 2), select_from_next_vsan),
      port_lists_(database, keyed_table<FcsPortListRecord>("port", 2), select_from_next_list),
      ports_(database, keyed_table<FcsPortRecord>("port", 2), select_from_next_vsan),
      attached_names_(database, keyed_table<FcsAttachPortRecord>("attached_name", 2),
                      select_from_next_list) {}

} // namespace fcs
