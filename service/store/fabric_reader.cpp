#include "fabric_reader.h"

#include <algorithm>

namespace fcs {

namespace {

Wwn wwn_of(Octets octets) {
  Wwn name{};
  std::copy_n(octets.begin(), std::min(octets.size(), name.size()), name.begin());
  return name;
}

Vsan read_vsan(const Rows &rows) {
  const auto word = [&rows](int column) { return rows.word(column); };
  return {{word(0), static_cast<int32_t>(rows.integer(1)), static_cast<int32_t>(rows.integer(2)),
           static_cast<int32_t>(rows.integer(3))},
          rows.real(4),
          {word(0), word(5), word(6), word(7), word(8), word(9), word(10), word(11), word(12),
           word(13)}};
}

Element read_element_row(const Rows &rows) {
  return {read_element(rows), rows.integer(10) != 0};
}

Port read_port(const Rows &rows) {
  return {rows.word(0), wwn_of(rows.octets(1)), rows.word(2), rows.integer(3) != 0, rows.word(4),
          rows.word(5), rows.word(6),           rows.word(7), rows.word(8),         rows.word(9)};
}

Platform read_platform(const Rows &rows) {
  return {rows.word(0),         rows.word(1), std::string(text_of(rows.octets(2))),
          rows.word(3),         rows.word(4), rows.word(5),
          rows.integer(6) != 0, rows.word(7)};
}

NodeName read_node_name(const Rows &rows) {
  return {rows.word(0), wwn_of(rows.octets(1)), rows.integer(2) != 0};
}

MgmtAddr read_mgmt_addr(const Rows &rows) {
  return {rows.word(0), rows.word(1), std::string(text_of(rows.octets(2))), rows.integer(3) != 0};
}

uint32_t read_list(const Rows &rows) {
  return rows.word(0);
}
Octets read_attached_name(const Rows &rows) {
  return rows.octets(0);
}

template <typename Row, typename Visit, typename... Key>
void visit_rows(Statement &statement, Row (*read)(const Rows &), const Visit &visit,
                const Key &...key) {
  auto rows = statement.run(key...);
  while (rows.next()) {
    visit(read(rows));
  }
}

} // namespace

FabricReader::FabricReader(FabricStore &store)
    : transaction_(store.database()), fabric_(store.database(), "SELECT comment FROM fabric"),
      vsans_(store.database(), "SELECT * FROM vsan ORDER BY id"),
      elements_(store.database(), "SELECT * FROM element WHERE vsan = ? ORDER BY name"),
      ports_(store.database(), "SELECT * FROM port WHERE port_list = ? ORDER BY name"),
      attached_names_(store.database(), "SELECT name FROM attached_name WHERE list = ?"
                                        " ORDER BY name"),
      platforms_(store.database(), "SELECT * FROM platform WHERE vsan = ?"
                                   " ORDER BY platform_index"),
      node_name_lists_(store.database(),
                       "SELECT list FROM node_name_list UNION SELECT list FROM node_name UNION "
                       "SELECT node_name_list FROM platform WHERE node_name_list <> 0 ORDER BY 1"),
      node_names_(store.database(), "SELECT * FROM node_name WHERE list = ? ORDER BY name"),
      mgmt_addr_lists_(store.database(),
                       "SELECT list FROM mgmt_addr_list UNION SELECT list FROM mgmt_addr UNION "
                       "SELECT mgmt_addr_list FROM element WHERE mgmt_addr_list <> 0 UNION "
                       "SELECT mgmt_addr_list FROM platform WHERE mgmt_addr_list <> 0 ORDER BY 1"),
      mgmt_addrs_(store.database(), "SELECT * FROM mgmt_addr WHERE list = ?"
                                    " ORDER BY address_index") {}

FabricReader::~FabricReader() = default;

std::string FabricReader::comment() {
  auto rows = fabric_.run();
  return rows.next() ? std::string(text_of(rows.octets(0))) : std::string();
}

void FabricReader::vsans(const Visit<Vsan> &visit) {
  visit_rows(vsans_, read_vsan, visit);
}

void FabricReader::elements(uint32_t vsan, const Visit<Element> &visit) {
  visit_rows(elements_, read_element_row, visit, vsan);
}

void FabricReader::ports(uint32_t port_list, const Visit<Port> &visit) {
  visit_rows(ports_, read_port, visit, port_list);
}

void FabricReader::attached_names(uint32_t list, const Visit<Octets> &visit) {
  visit_rows(attached_names_, read_attached_name, visit, list);
}

void FabricReader::platforms(uint32_t vsan, const Visit<Platform> &visit) {
  visit_rows(platforms_, read_platform, visit, vsan);
}

void FabricReader::node_name_lists(const Visit<uint32_t> &visit) {
  visit_rows(node_name_lists_, read_list, visit);
}

void FabricReader::node_names(uint32_t list, const Visit<NodeName> &visit) {
  visit_rows(node_names_, read_node_name, visit, list);
}

void FabricReader::mgmt_addr_lists(const Visit<uint32_t> &visit) {
  visit_rows(mgmt_addr_lists_, read_list, visit);
}

void FabricReader::mgmt_addrs(uint32_t list, const Visit<MgmtAddr> &visit) {
  visit_rows(mgmt_addrs_, read_mgmt_addr, visit, list);
}

} // namespace fcs
