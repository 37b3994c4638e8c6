/**
 * What the tables of a fabric refer to: elements, whose ports are whose, and the lists of addresses
 * and names. Kept small: a fabric has hundreds of thousands of ports.
 */
#pragma once

#include "table_walk.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace snmpfcs {

using Wwn = std::array<char, 8>;
/** A port name, a reserved octet and an address identifier. */
using AttachedName = std::array<char, 12>;

/** Says how many rows have been read of what. */
using TellProgress = std::function<void(const char *what, size_t rows)>;

/** The items of lists that are known by a number. */
template <class Item> class Lists {
public:
  /** In ascending order of the lists. */
  void add(uint32_t list, Item item) { items_.emplace_back(list, std::move(item)); }

  /** The items of a list, in their order. */
  std::vector<Item> of(uint32_t list) const {
    std::vector<Item> items;
    for (auto at = std::ranges::lower_bound(items_, list, {}, &std::pair<uint32_t, Item>::first);
         at != items_.end() && at->first == list; ++at) {
      items.push_back(at->second);
    }
    return items;
  }

private:
  std::vector<std::pair<uint32_t, Item>> items_;
};

struct Element {
  uint32_t vsan;
  Wwn wwn;
  std::vector<Value> values; ///< In the order of kElementColumns.

  uint32_t list(std::string_view column) const;
  /** Its logical name or, without one, its world-wide name. */
  std::string label() const;
};

inline const std::vector<std::string_view> kElementColumns = {
    "fcsIeType",        "fcsIeDomainId",          "fcsIeMgmtId",   "fcsIeFabricName",
    "fcsIeLogicalName", "fcsIeMgmtAddrListIndex", "fcsIeInfoList", "fcsIePortListIndex"};

std::vector<Element> read_elements(Session &session, const Ranges &vsans);

/** Which element a port is of. */
class PortOwners {
public:
  /** Reads the port lists of the elements, which have to outlive this. */
  PortOwners(Session &session, const std::vector<Element> &elements, const TellProgress &tell);
  /** Null for a port that is in no list. */
  const Element *of(uint32_t vsan, const Wwn &port) const;

private:
  struct Port {
    Wwn wwn;
    uint32_t element;
  };
  const std::vector<Element> &elements_;
  std::vector<Port> ports_;
};

/** The lists with these numbers, or all. */
Lists<AttachedName> read_attached_names(Session &session, const Ranges &lists,
                                        const TellProgress &tell);
Lists<Wwn> read_node_names(Session &session, const Ranges &lists);
Lists<std::string> read_addresses(Session &session, const Ranges &lists);

/**
 * The lists that a column of a table with VSANs refers to: any, without a walk, when no VSANs were
 * chosen.
 */
Ranges lists_in(Session &session, std::string_view column, const Ranges &vsans);

/** The number in a value; 0 where there is none. */
int64_t number_of(const Value &value);
Wwn wwn_of(const Oid &index);

} // namespace snmpfcs
