#include "fabric_writer.h"

#include <string_view>

namespace fcs {

namespace {

/** The last column that SQLite's text names: "UNIQUE constraint failed: port.vsan, port.name". */
std::string last_column(std::string_view text) {
  const size_t space = text.rfind(' ');
  return std::string(space == std::string_view::npos ? text : text.substr(space + 1));
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
      vsan_(store.database(), insert_sql<Vsan>("vsan")),
      element_(store.database(), insert_sql<Element>("element")),
      port_(store.database(), insert_sql<Port>("port")),
      attached_name_(store.database(), insert_sql<AttachedName>("attached_name")),
      platform_(store.database(), insert_sql<PlatformEntry>("platform")),
      node_name_list_(store.database(), insert_sql<uint32_t>("node_name_list")),
      node_name_(store.database(), insert_sql<NodeNameEntry>("node_name")),
      mgmt_addr_list_(store.database(), insert_sql<uint32_t>("mgmt_addr_list")),
      mgmt_addr_(store.database(), insert_sql<MgmtAddrEntry>("mgmt_addr")),
      count_(store.database(),
             "UPDATE vsan SET"
             " elements = (SELECT count(*) FROM element WHERE vsan = ?1),"
             " local_elements = (SELECT count(*) FROM element WHERE vsan = ?1 AND local = 1),"
             " ports = (SELECT count(*) FROM port WHERE vsan = ?1),"
             " local_ports = (SELECT count(*) FROM port WHERE vsan = ?1 AND local = 1),"
             " platforms = (SELECT count(*) FROM platform WHERE vsan = ?1)"
             " WHERE id = ?1") {}

void FabricWriter::refuse(const SqliteError &error) {
  if (error.code() == SQLITE_CONSTRAINT_PRIMARYKEY || error.code() == SQLITE_CONSTRAINT_UNIQUE ||
      error.code() == SQLITE_CONSTRAINT_ROWID) {
    throw DuplicateRow(last_column(error.what()));
  }
  throw error;
}

void FabricWriter::set_comment(const std::string &comment) {
  fabric_.execute(octets_of(comment));
}

void FabricWriter::count_rows(uint32_t vsan) {
  count_.execute(vsan);
}

void FabricWriter::commit() {
  replacement_.transaction.commit();
}

} // namespace fcs
