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
      add_platform_(store.database(), insert_sql<PlatformEntry>("platform")),
      delete_platform_(store.database(),
                       "DELETE FROM platform WHERE vsan = ?1 AND platform_index = ?2"),
      count_platforms_(store.database(),
                       "UPDATE vsan SET platforms = platforms + ?2 WHERE id = ?1"),
      add_node_name_(store.database(), insert_sql<NodeNameEntry>("node_name")),
      delete_node_name_(store.database(), "DELETE FROM node_name WHERE list = ?1 AND name = ?2"),
      add_mgmt_addr_(store.database(), insert_sql<MgmtAddrEntry>("mgmt_addr")),
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

void ConfigurationStore::add(const PlatformEntry &platform) {
  insert_row(add_platform_, platform);
  count_platforms_.execute(platform.vsan, 1);
}

bool ConfigurationStore::delete_platform(uint32_t vsan, uint32_t index) {
  const bool deleted = delete_platform_.change(vsan, index) != 0;
  if (deleted) {
    count_platforms_.execute(vsan, -1);
  }
  return deleted;
}

} // namespace fcs
