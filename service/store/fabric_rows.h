/**
 * The rows of the store as the records of the protocol, by key: exactly one, or those after it.
 *
 * Rows are ordered as FcsKeyForm says. A VSAN whose discovery status is local-only shows its
 * local element alone, with the ports, port list and attached port names of that element.
 */
#pragma once

#include "row_sql.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string>

namespace fcs {

/** Which row a key asks for: its own, or the first one after it. */
enum class Lookup { kExact, kNext };

/** What the queries for the rows of a table are made of. */
struct KeyedTable {
  std::string name;
  std::string columns;    ///< Those of the key come first.
  std::string word;       ///< The first column of the key.
  std::string key;        ///< All columns of the key.
  std::string parameters; ///< Of the key.
};

/** A table in which every row can be seen. */
class KeyedRows {
public:
  KeyedRows(Database &database, const KeyedTable &table);

  /** Finds rows by key words and name, as many as there is room for; how many there are. */
  template <typename Row, typename... Key>
  size_t find(Lookup lookup, std::span<Row> room, const Key &...key) {
    auto rows = statements_[static_cast<size_t>(lookup)].run(key...);
    size_t found = 0;
    while (found < room.size() && rows.next()) {
      room[found++] = read_row<Row>(rows);
    }
    return found;
  }

private:
  Statement statements_[2]; ///< By Lookup.
};

/** A table that the discovery status of VSANs hides rows of. Its keys are a word and a name. */
class HidingRows {
public:
  /** \param select_next_discovered makes the query for next_discovered_. */
  HidingRows(Database &database, const KeyedTable &table,
             std::string (*select_next_discovered)(const KeyedTable &table));

  /** Finds visible rows, as many as there is room for; how many there are. */
  template <typename Row>
  size_t find(Lookup lookup, std::span<Row> room, uint32_t word, Octets name) {
    Key key(word, name);
    size_t found = 0;
    std::optional<ReadTransaction> moment;
    while (found < room.size()) {
      auto stretch = statements_[static_cast<size_t>(lookup)].run(key.word, key.name());
      bool more = stretch.next();
      for (; more && !is_hidden(stretch); more = stretch.next()) {
        room[found++] = read_row<Row>(stretch);
        if (found == room.size()) {
          return found;
        }
      }
      if (!more || lookup == Lookup::kExact) {
        return found;
      }
      // However many rows are hidden in a stretch, two queries lead past them all. What they and
      // the next stretch find is of the same moment as this stretch, which is still being read.
      if (!moment) {
        moment.emplace(database_);
      }
      auto local = next_local_.run(stretch.word(0), stretch.octets(1));
      auto discovered = next_discovered_.run(stretch.word(0));
      const Rows *first = earlier(local, discovered);
      if (first == nullptr) {
        return found;
      }
      room[found++] = read_row<Row>(*first);
      key = Key(first->word(0), first->octets(1));
    }
    return found;
  }

private:
  /** A key of its own. */
  struct Key {
    Key(uint32_t key_word, Octets name)
        : word(key_word), length(std::min(name.size(), octets.size())) {
      std::copy_n(name.begin(), length, octets.begin());
    }
    Octets name() const { return {octets.data(), length}; }

    uint32_t word;
    std::array<uint8_t, FCS_ATTACHED_NAME_LENGTH> octets{};
    size_t length;
  };

  static bool is_hidden(const Rows &rows);
  /** Takes the first row of each: the one with the lesser key, or null when both are empty. */
  static const Rows *earlier(Rows &a, Rows &b);

  Database &database_;
  Statement statements_[2]; ///< By Lookup; the last column tells whether the row is hidden.
  /** The first row of a local element after a key. */
  Statement next_local_;
  /** The first row of VSANs that are not local-only whose word follows that of a hidden row. */
  Statement next_discovered_;
};

/**
 * The rows of every record with a key. The functions find the row of the key, or as many of the
 * rows after it as there is room for, tell how many there are, and throw SqliteError when the
 * database fails.
 */
class FabricRows {
public:
  explicit FabricRows(Database &database);

  size_t find_discovery_status(Lookup lookup, const uint32_t &vsan,
                               std::span<fcs_disc_status_record> room) {
    return discovery_status_.find(lookup, room, vsan);
  }
  size_t find_element(Lookup lookup, const IeKey &key, std::span<IeEntry> room) {
    return elements_.find(lookup, room, key.vsan, Octets(key.name));
  }
  size_t find_mgmt_addr(Lookup lookup, const MgmtAddrEntry &key, std::span<MgmtAddrEntry> room) {
    return mgmt_addrs_.find(lookup, room, value_of(key.list_index), value_of(key.address_index));
  }
  size_t find_port_list_entry(Lookup lookup, const FcsPortListRecord &key,
                              std::span<FcsPortListRecord> room) {
    return port_lists_.find(lookup, room, key.list_index, Octets(key.port_name));
  }
  size_t find_port(Lookup lookup, const FcsPortKey &key, std::span<FcsPortRecord> room) {
    return ports_.find(lookup, room, key.vsan, Octets(key.name));
  }
  size_t find_attached_name(Lookup lookup, const FcsAttachPortRecord &key,
                            std::span<FcsAttachPortRecord> room) {
    return attached_names_.find(lookup, room, key.list_index, Octets(key.name));
  }
  size_t find_platform(Lookup lookup, const PlatformKey &key, std::span<PlatformEntry> room) {
    return platforms_.find(lookup, room, value_of(key.vsan), value_of(key.platform_index));
  }
  size_t find_node_name(Lookup lookup, const NodeNameEntry &key, std::span<NodeNameEntry> room) {
    return node_names_.find(lookup, room, value_of(key.list_index), Octets(key.name));
  }
  size_t find_statistics(Lookup lookup, const uint32_t &vsan, std::span<FcsStatsRecord> room) {
    return statistics_.find(lookup, room, vsan);
  }

private:
  KeyedRows discovery_status_, mgmt_addrs_, platforms_, node_names_, statistics_;
  HidingRows elements_, port_lists_, ports_, attached_names_;
};

} // namespace fcs
