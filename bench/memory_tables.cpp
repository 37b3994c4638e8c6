#include "memory_tables.h"

#include "table_rows.h"

#include <list>
#include <stdexcept>

#include <net-snmp/agent/net-snmp-agent-includes.h>

namespace bench {

namespace {

/** The agent keeps pointers into the rows as long as it runs. */
std::list<std::map<unsigned, Table>> registered;

int answer(netsnmp_mib_handler * /*handler*/, netsnmp_handler_registration * /*registration*/,
           netsnmp_agent_request_info *request_info, netsnmp_request_info *requests) {
  for (netsnmp_request_info *request = requests; request != nullptr; request = request->next) {
    const auto *row = static_cast<const Row *>(netsnmp_tdata_extract_entry(request));
    const netsnmp_table_request_info *table = netsnmp_extract_table_info(request);
    if (row == nullptr || table == nullptr || row->count(table->colnum) == 0) {
      netsnmp_set_request_error(request_info, request, SNMP_NOSUCHINSTANCE);
      continue;
    }
    const Value &value = row->at(table->colnum);
    snmp_set_var_typed_value(request->requestvb, value.type, value.octets.data(),
                             value.octets.size());
  }
  return SNMP_ERR_NOERROR;
}

void add_row(netsnmp_tdata *table, const std::vector<oid> &index, Row &row) {
  netsnmp_tdata_row *added = netsnmp_tdata_create_row();
  added->data = &row;
  netsnmp_tdata_row_add_index(added, ASN_PRIV_IMPLIED_OBJECT_ID, index.data(),
                              index.size() * sizeof(oid));
  netsnmp_tdata_add_row(table, added);
}

void register_table(std::vector<oid> name, Table &rows) {
  netsnmp_tdata *table = netsnmp_tdata_create_table("bench_table", 0);
  for (auto &[index, row] : rows) {
    add_row(table, index, row);
  }
  auto *info = SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
  netsnmp_table_helper_add_indexes(info, ASN_PRIV_IMPLIED_OBJECT_ID, 0);
  info->min_column = rows.begin()->second.begin()->first;
  info->max_column = rows.begin()->second.rbegin()->first;
  netsnmp_handler_registration *registration = netsnmp_create_handler_registration(
      "bench_table", answer, name.data(), name.size(), HANDLER_CAN_RONLY);
  // The registration owns the table's description from here on.
  if (netsnmp_tdata_register(registration, table, info) != MIB_REGISTERED_OK) {
    throw std::runtime_error("the agent library refuses a table");
  }
} // NOLINT(clang-analyzer-unix.Malloc)

} // namespace

void register_memory_tables(const std::string &root, const std::string &rows_path) {
  oid parsed[MAX_OID_LEN];
  size_t length = MAX_OID_LEN;
  if (read_objid(root.c_str(), parsed, &length) == 0) {
    throw std::runtime_error("'" + root + "' is not an object identifier");
  }
  for (auto &[number, rows] : registered.emplace_back(read_tables(rows_path))) {
    std::vector<oid> name(parsed, parsed + length);
    name.push_back(number);
    register_table(name, rows);
  }
}

} // namespace bench
