#include "fabric_writer.h"

#include <string_view>

namespace fcs {

namespace {

/** The last column that SQLite's text names: "UNIQUE constraint failed: port.vsan, port.name". */
std::string last_column(std::string_view text) {
  const size_t space = text.rfind(' ');
  return std::string(space == std::string_view::npos ? text : text.substr(space + 1));
}

bool is_duplicate(const SqliteError &error) {
  return error.code() == SQLITE_CONSTRAINT_PRIMARYKEY || error.code() == SQLITE_CONSTRAINT_UNIQUE ||
         error.code() == SQLITE_CONSTRAINT_ROWID;
}

} // namespace

FabricWriter::Replacement::Replacement(FabricStore &store) : transaction(store.write()) {
  store.database().execute(
      "DELETE FROM fabric; DELETE FROM vsan; DELETE FROM element; DELETE FROM port;"
      "DELETE FROM attached_name; DELETE FROM platform;"
      "DELETE FROM node_name_list; DELETE FROM node_name;"
      "DELETE FROM mgmt_addr_list; DELETE FROM mgmt_addr;"
      "INSERT INTO fabric VALUES (1, x'', random())");
}

FabricWriter::FabricWriter(FabricStore &store)
    : replacement_(store), fabric_(store.database(), "UPDATE fabric SET comment = ?1"),
      vsan_(store.database(), "INSERT INTO vsan (id, status, completed_seconds,"
                              " completed_microseconds, takes_seconds, rx_get_reqs, tx_get_reqs,"
                              " rx_reg_reqs, rx_dereg_reqs, tx_reg_reqs, tx_dereg_reqs, rx_rscns,"
                              " tx_rscns, rejects) VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?)"),
      element_(store.database(), "INSERT INTO element VALUES (?,?,?,?,?,?,?,?,?,?,?)"),
      port_(store.database(), "INSERT INTO port VALUES (?,?,?,?,?,?,?,?,?,?)"),
      attached_name_(store.database(), "INSERT INTO attached_name VALUES (?,?,?,?)"),
      platform_(store.database(), "INSERT INTO platform VALUES (?,?,?,?,?,?,?,?)"),
      node_name_list_(store.database(), "INSERT INTO node_name_list VALUES (?)"),
      node_name_(store.database(), "INSERT INTO node_name VALUES (?,?,?)"),
      mgmt_addr_list_(store.database(), "INSERT INTO mgmt_addr_list VALUES (?)"),
      mgmt_addr_(store.database(), "INSERT INTO mgmt_addr VALUES (?,?,?,?)"),
      count_(store.database(),
             "UPDATE vsan SET"
             " elements = (SELECT count(*) FROM element WHERE vsan = ?1),"
             " local_elements = (SELECT count(*) FROM element WHERE vsan = ?1 AND local = 1),"
             " ports = (SELECT count(*) FROM port WHERE vsan = ?1),"
             " local_ports = (SELECT count(*) FROM port WHERE vsan = ?1 AND local = 1),"
             " platforms = (SELECT count(*) FROM platform WHERE vsan = ?1)"
             " WHERE id = ?1") {}

FabricWriter::~FabricWriter() = default;

template <typename... Values>
void FabricWriter::insert(Statement &statement, const Values &...values) {
  try {
    statement.execute(values...);
  } catch (const SqliteError &error) {
    if (is_duplicate(error)) {
      throw DuplicateRow(last_column(error.what()));
    }
    throw;
  }
}

void FabricWriter::set_comment(const std::string &comment) {
  fabric_.execute(octets_of(comment));
}

void FabricWriter::add(const Vsan &vsan) {
  const fcs_disc_status_record &discovery = vsan.discovery;
  const FcsStatsRecord &counters = vsan.statistics;
  insert(vsan_, discovery.vsan, discovery.status, discovery.completed_seconds,
         discovery.completed_microseconds, vsan.discovery_takes_seconds, counters.rx_get_reqs,
         counters.tx_get_reqs, counters.rx_reg_reqs, counters.rx_dereg_reqs, counters.tx_reg_reqs,
         counters.tx_dereg_reqs, counters.rx_rscns, counters.tx_rscns, counters.rejects);
}

void FabricWriter::add(const Element &element) {
  const IeEntry &entry = element.entry;
  // Trailing zeros of the information list are not stored; reading fills it up again.
  size_t info_length = sizeof(entry.info_list);
  while (info_length > 0 && entry.info_list[info_length - 1] == 0) {
    --info_length;
  }
  insert(element_, entry.vsan, Octets(entry.name), entry.type, entry.domain_id,
         Octets(entry.mgmt_id), Octets(entry.fabric_name),
         Octets(entry.logical_name, entry.logical_name_length), entry.mgmt_addr_list_index,
         Octets(entry.info_list, info_length), entry.port_list_index, element.local);
}

void FabricWriter::add(const Port &port) {
  insert(port_, port.vsan, Octets(port.name), port.port_list, port.local, port.type, port.tx_type,
         port.module_type, port.physical_port, port.attached_list, port.state);
}

void FabricWriter::add_attached_name(const Port &port, Octets name) {
  insert(attached_name_, port.attached_list, name, port.vsan, port.local);
}

void FabricWriter::add(const Platform &platform) {
  insert(platform_, platform.vsan, platform.index, octets_of(platform.name), platform.type,
         platform.node_name_list, platform.mgmt_addr_list, platform.configured,
         platform.validation_result);
}

void FabricWriter::add_node_name_list(uint32_t list) {
  insert(node_name_list_, list);
}

void FabricWriter::add(const NodeName &name) {
  insert(node_name_, name.list, Octets(name.name), name.configured);
}

void FabricWriter::add_mgmt_addr_list(uint32_t list) {
  insert(mgmt_addr_list_, list);
}

void FabricWriter::add(const MgmtAddr &address) {
  insert(mgmt_addr_, address.list, address.index, octets_of(address.address), address.configured);
}

void FabricWriter::count_rows(uint32_t vsan) {
  count_.execute(vsan);
}

void FabricWriter::commit() {
  replacement_.transaction.commit();
}

} // namespace fcs
