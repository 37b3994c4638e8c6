#include "fabric_reader.h"

namespace fcs {

FabricReader::FabricReader(FabricStore &store)
    : transaction_(store.database()), fabric_(store.database(), "SELECT comment FROM fabric"),
      vsans_(store.database(), select_sql<Vsan>("vsan") + " ORDER BY id"),
      elements_(store.database(), select_sql<Element>("element") + " WHERE vsan = ? ORDER BY name"),
      ports_(store.database(), select_sql<Port>("port") + " WHERE port_list = ? ORDER BY name"),
      attached_names_(store.database(), "SELECT name FROM attached_name WHERE list = ?"
                                        " ORDER BY name"),
      platforms_(store.database(),
                 select_sql<PlatformEntry>("platform") + " WHERE vsan = ? ORDER BY platform_index"),
      node_name_lists_(store.database(),
                       "SELECT list FROM node_name_list UNION SELECT list FROM node_name UNION "
                       "SELECT node_name_list FROM platform WHERE node_name_list <> 0 ORDER BY 1"),
      node_names_(store.database(),
                  select_sql<NodeNameEntry>("node_name") + " WHERE list = ? ORDER BY name"),
      mgmt_addr_lists_(store.database(),
                       "SELECT list FROM mgmt_addr_list UNION SELECT list FROM mgmt_addr UNION "
                       "SELECT mgmt_addr_list FROM element WHERE mgmt_addr_list <> 0 UNION "
                       "SELECT mgmt_addr_list FROM platform WHERE mgmt_addr_list <> 0 ORDER BY 1"),
      mgmt_addrs_(store.database(), select_sql<MgmtAddrEntry>("mgmt_addr") +
                                        " WHERE list = ? ORDER BY address_index") {}

std::string FabricReader::comment() {
  auto rows = fabric_.run();
  return rows.next() ? std::string(text_of(rows.octets(0))) : std::string();
}

void FabricReader::vsans(const Visit<Vsan> &visit) {
  auto rows = vsans_.run();
  while (rows.next()) {
    Vsan vsan = read_row<Vsan>(rows);
    vsan.statistics.vsan = vsan.discovery.vsan;
    visit(vsan);
  }
}

void FabricReader::attached_names(uint32_t list, const Visit<Octets> &visit) {
  auto rows = attached_names_.run(list);
  while (rows.next()) {
    visit(rows.octets(0));
  }
}

} // namespace fcs
