#include "configuration_store.h"

namespace fcs {

ConfigurationStore::ConfigurationStore(FabricStore &store)
    : store_(store),
      // The condition that repeats an index's own is what leads to the index.
      platform_name_(store.database(), "SELECT 1 FROM platform WHERE vsan = ?1 AND name = ?2"
                                       " AND length(name) > 0"),
      node_name_list_(store.database(), "SELECT list FROM node_name WHERE name = ?1"),
      mgmt_addrs_(store.database(), "SELECT 1 FROM mgmt_addr WHERE list = ?1 LIMIT 1"),
      node_names_(store.database(), "SELECT 1 FROM node_name WHERE list = ?1 LIMIT 1"),
      element_vsans_(store.database(), "SELECT vsan FROM element WHERE mgmt_addr_list = ?1"
                                       " AND mgmt_addr_list <> 0 ORDER BY vsan"),
      add_platform_(store.database(), "INSERT INTO platform VALUES (?,?,?,?,?,?,?,?)"),
      delete_platform_(store.database(),
                       "DELETE FROM platform WHERE vsan = ?1 AND platform_index = ?2"),
      count_platforms_(store.database(),
                       "UPDATE vsan SET platforms = platforms + ?2 WHERE id = ?1"),
      add_node_name_(store.database(), "INSERT INTO node_name VALUES (?,?,?)"),
      delete_node_name_(store.database(), "DELETE FROM node_name WHERE list = ?1 AND name = ?2"),
      add_mgmt_addr_(store.database(), "INSERT INTO mgmt_addr VALUES (?,?,?,?)"),
      delete_mgmt_addr_(store.database(),
                        "DELETE FROM mgmt_addr WHERE list = ?1 AND address_index = ?2") {}

bool ConfigurationStore::has_vsan(uint32_t vsan) {
  fcs_disc_status_record row{};
  return store_.rows().find_discovery_status(Lookup::kExact, vsan, {&row, 1}) != 0;
}

std::optional<PlatformEntry> ConfigurationStore::platform(const PlatformKey &key) {
  PlatformEntry row{};
  return store_.rows().find_platform(Lookup::kExact, key, {&row, 1}) != 0 ? std::optional(row)
                                                                          : std::nullopt;
}

bool ConfigurationStore::has_platform_named(uint32_t vsan, Octets name) {
  return platform_name_.run(vsan, name).next();
}

bool ConfigurationStore::has_node_names(uint32_t list) {
  return node_names_.run(list).next();
}

bool ConfigurationStore::has_mgmt_addrs(uint32_t list) {
  return mgmt_addrs_.run(list).next();
}

std::optional<uint32_t> ConfigurationStore::list_of_node_name(Octets name) {
  auto rows = node_name_list_.run(name);
  return rows.next() ? std::optional(rows.word(0)) : std::nullopt;
}

std::optional<MgmtAddrEntry> ConfigurationStore::mgmt_addr(const MgmtAddrEntry &key) {
  MgmtAddrEntry row{};
  return store_.rows().find_mgmt_addr(Lookup::kExact, key, {&row, 1}) != 0 ? std::optional(row)
                                                                           : std::nullopt;
}

std::vector<uint32_t> ConfigurationStore::vsans_of_elements(uint32_t mgmt_addr_list) {
  std::vector<uint32_t> vsans;
  auto rows = element_vsans_.run(mgmt_addr_list);
  while (rows.next()) {
    vsans.push_back(rows.word(0));
  }
  return vsans;
}

void ConfigurationStore::add(const Platform &platform) {
  add_platform_.execute(platform.vsan, platform.index, octets_of(platform.name), platform.type,
                        platform.node_name_list, platform.mgmt_addr_list, platform.configured,
                        platform.validation_result);
  count_platforms_.execute(platform.vsan, 1);
}

bool ConfigurationStore::delete_platform(uint32_t vsan, uint32_t index) {
  const bool deleted = delete_platform_.change(vsan, index) != 0;
  if (deleted) {
    count_platforms_.execute(vsan, -1);
  }
  return deleted;
}

void ConfigurationStore::add(const NodeName &name) {
  add_node_name_.execute(name.list, Octets(name.name), name.configured);
}

bool ConfigurationStore::delete_node_name(uint32_t list, Octets name) {
  return delete_node_name_.change(list, name) != 0;
}

void ConfigurationStore::add(const MgmtAddr &address) {
  add_mgmt_addr_.execute(address.list, address.index, octets_of(address.address),
                         address.configured);
}

bool ConfigurationStore::delete_mgmt_addr(uint32_t list, uint32_t index) {
  return delete_mgmt_addr_.change(list, index) != 0;
}

} // namespace fcs
