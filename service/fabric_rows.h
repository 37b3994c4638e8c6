/**
 * The rows of the store as the records of the protocol, by key: exactly one, or the one after it.
 *
 * Rows are ordered as SNMP orders their indexes: words as unsigned numbers, signed though some
 * records have them, and names as octets. A VSAN whose discovery status is local-only shows its
 * local element alone, with the ports, port list and attached port names of that element.
 */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "service/sqlite.h"

#include <string>

namespace fcs {

/** Which row a key asks for: its own, or the first one after it. */
enum class Lookup { kExact, kNext };

/** Where the rows of a record come from. */
struct KeyedTable {
  const char *select;     ///< Columns and tables; the columns of the key come first.
  const char *key;        ///< The columns of the key.
  const char *parameters; ///< Their parameters.
};

/** A table in which every row can be seen. */
class KeyedRows {
public:
  KeyedRows(Database &database, const KeyedTable &table);

  /** Finds a row by its key words and name; false when there is none. */
  template <typename Row, typename... Key>
  bool find(Lookup lookup, Row (*read)(const Rows &), Row &row, const Key &...key) {
    auto rows = statements_[static_cast<size_t>(lookup)].run(key...);
    if (!rows.next()) {
      return false;
    }
    row = read(rows);
    return true;
  }

private:
  Statement statements_[2]; ///< By Lookup.
};

/** A table that the discovery status of VSANs hides rows of. Its keys are a word and a name. */
struct HidingTable {
  const char *columns; ///< Of t, as queries call the table; those of the key come first.
  const char *table;
  const char *word; ///< The column of the key's word.
  /** Makes the query for HidingRows::next_discovered_, without its columns. */
  std::string (*from_next_discovered)(const HidingTable &table);
};

class HidingRows {
public:
  HidingRows(Database &database, const HidingTable &table);

  /** Finds a visible row; false when there is none. */
  template <typename Row>
  bool find(Lookup lookup, Row (*read)(const Rows &), Row &row, uint32_t word, Octets name) {
    auto rows = statements_[static_cast<size_t>(lookup)].run(word, name);
    if (!rows.next()) {
      return false;
    }
    if (!is_hidden(rows)) {
      row = read(rows);
      return true;
    }
    if (lookup == Lookup::kExact) {
      return false;
    }
    // However many rows are hidden in a stretch, two queries lead past them all.
    auto local = next_local_.run(word, name);
    auto discovered = next_discovered_.run(rows.word(0));
    const Rows *first = earlier(local, discovered);
    if (first == nullptr) {
      return false;
    }
    row = read(*first);
    return true;
  }

private:
  static bool is_hidden(const Rows &rows);
  /** Takes the first row of each: the one with the lesser key, or null when both are empty. */
  static const Rows *earlier(Rows &a, Rows &b);

  Statement statements_[2]; ///< By Lookup; the last column tells whether the row is hidden.
  /** The first row of a local element after a key. */
  Statement next_local_;
  /** The first row of VSANs that are not local-only whose word follows that of a hidden row. */
  Statement next_discovered_;
};

/**
 * The rows of every record with a key. The functions return false when there is no such row, and
 * throw SqliteError when the database fails.
 */
class FabricRows {
public:
  explicit FabricRows(Database &database);

  bool find_discovery_status(Lookup lookup, const uint32_t &vsan, fcs_disc_status_record &row);
  bool find_element(Lookup lookup, const IeKey &key, IeEntry &row);
  bool find_mgmt_addr(Lookup lookup, const MgmtAddrEntry &key, MgmtAddrEntry &row);
  bool find_port_list_entry(Lookup lookup, const FcsPortListRecord &key, FcsPortListRecord &row);
  bool find_port(Lookup lookup, const FcsPortKey &key, FcsPortRecord &row);
  bool find_attached_name(Lookup lookup, const FcsAttachPortRecord &key, FcsAttachPortRecord &row);
  bool find_platform(Lookup lookup, const PlatformKey &key, PlatformEntry &row);
  bool find_node_name(Lookup lookup, const NodeNameEntry &key, NodeNameEntry &row);
  bool find_statistics(Lookup lookup, const uint32_t &vsan, FcsStatsRecord &row);

private:
  KeyedRows discovery_status_, mgmt_addrs_, platforms_, node_names_, statistics_;
  HidingRows elements_, port_lists_, ports_, attached_names_;
};

/** An interconnect element's row, in the column order of its table. */
IeEntry read_element(const Rows &rows);

} // namespace fcs
