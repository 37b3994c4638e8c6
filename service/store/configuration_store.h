/**
 * What configuration reads and changes in the store.
 */
#pragma once

#include "fabric_store.h"
#include "row_sql.h"

#include <optional>
#include <vector>

namespace fcs {

/** Each change is part of the transaction that is open. The functions throw SqliteError when the
 *  database fails. */
class ConfigurationStore {
public:
  explicit ConfigurationStore(FabricStore &store);

  bool has_vsan(uint32_t vsan);
  std::optional<PlatformEntry> platform(const PlatformKey &key);
  /** Whether a platform of the VSAN has the name, which must not be empty. */
  bool has_platform_named(uint32_t vsan, Octets name) {
    return platform_name_.run(vsan, name).next();
  }
  bool has_node_names(uint32_t list) { return node_names_.run(list).next(); }
  bool has_mgmt_addrs(uint32_t list) { return mgmt_addrs_.run(list).next(); }
  /** The list that has the node name. */
  std::optional<uint32_t> list_of_node_name(Octets name);
  std::optional<MgmtAddrEntry> mgmt_addr(const MgmtAddrEntry &key);
  /** The VSAN of each element whose management addresses are the list's. */
  std::vector<uint32_t> vsans_of_elements(uint32_t mgmt_addr_list);

  /** Adding puts a row where there is none; deleting tells whether there was one. */
  void add(const PlatformEntry &platform);
  bool delete_platform(uint32_t vsan, uint32_t index);
  void add(const NodeNameEntry &name) { insert_row(add_node_name_, name); }
  bool delete_node_name(uint32_t list, Octets name) {
    return delete_node_name_.change(list, name) != 0;
  }
  void add(const MgmtAddrEntry &address) { insert_row(add_mgmt_addr_, address); }
  bool delete_mgmt_addr(uint32_t list, uint32_t index) {
    return delete_mgmt_addr_.change(list, index) != 0;
  }

  WriteTransaction write() { return store_.write(); }

private:
  FabricStore &store_;
  Statement platform_name_, node_name_list_, mgmt_addrs_, node_names_, element_vsans_;
  Statement add_platform_, delete_platform_, count_platforms_;
  Statement add_node_name_, delete_node_name_, add_mgmt_addr_, delete_mgmt_addr_;
};

} // namespace fcs
