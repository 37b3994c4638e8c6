// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_port_tables.h"

#include "fcs_mib.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "frame/fcs_row_lookup.h"

#include <cstring>

namespace {

FcsAnswer<FcsPortListRecord> port_list;
FcsPortKey port_key;
FcsAnswer<FcsPortRecord> port;
FcsAnswer<FcsAttachPortRecord> attached;

constexpr FcsNameIndex kPortListIndex = {
    .name_octets = FCS_WWN_LENGTH, .next_octets = sizeof(FcsPortListRecord) - sizeof(uint32_t)};
constexpr FcsNameIndex kPortIndex = {.name_octets = FCS_WWN_LENGTH,
                                     .next_octets = sizeof(FcsPortRecord) - sizeof(uint32_t)};
constexpr FcsNameIndex kAttachedIndex = {.name_octets = FCS_ATTACHED_NAME_LENGTH,
                                         .next_octets = FCS_ATTACHED_NAME_LENGTH};

void trace_port_restriction(int result, int allowed) {
  FCS_DETAIL_AS("header_fcs_port_table", "%s:allowed vsans result %d, allowed %d\n", result,
                allowed);
}

constexpr FcsVsanTable kPortTable = {.record_id = FCS_REC_PORT,
                                     .key = &port_key,
                                     .key_length = sizeof(port_key),
                                     .record = &port,
                                     .on_restriction = trace_port_restriction};

bool header_fcs_port_list_table(const FcsRowRequest &request) {
  FCS_DETAIL("%s:entering\n");
  memset(&port_list, 0, sizeof(port_list.record));
  FCS_DETAIL_REQUEST(request);
  if (!fcs_read_index(kPortListIndex, request, &port_list)) {
    return false;
  }
  FCS_DETAIL_VALUES("%s:port list index %d\n", static_cast<int32_t>(port_list.record.list_index));
  if (!fcs_fetch_row(FCS_REC_PORT_LIST, request, &port_list, sizeof(port_list.record))) {
    return false;
  }
  fcs_write_index(kPortListIndex, request, &port_list);
  FCS_DETAIL("%s:end\n");
  return true;
}

bool header_fcs_port_table(const FcsRowRequest &request) {
  FCS_DETAIL("%s:entering\n");
  memset(&port, 0, sizeof(port_key));
  // Unlike its neighbours this step tells of a request only when its length is right.
  if (!fcs_read_index(kPortIndex, request, &port)) {
    return false;
  }
  FCS_DETAIL_REQUEST(request);
  FCS_DETAIL("%s:before sending snmp_get_allowed\n");
  if (!fcs_fetch_visible_row(kPortTable, request)) {
    return false;
  }
  fcs_write_index(kPortIndex, request, &port);
  FCS_DETAIL("%s:end\n");
  return true;
}

bool header_fcs_attach_port_table(const FcsRowRequest &request) {
  FCS_DETAIL("%s:entering\n");
  memset(&attached, 0, sizeof(attached.record));
  FCS_DETAIL_REQUEST(request);
  if (!fcs_read_index(kAttachedIndex, request, &attached)) {
    return false;
  }
  FCS_DETAIL_VALUES("%s:entry attach port name index %d\n",
                    static_cast<int32_t>(attached.record.list_index));
  if (!fcs_fetch_row(FCS_REC_ATTACH_PORT, request, &attached, sizeof(attached.record))) {
    return false;
  }
  fcs_write_index(kAttachedIndex, request, &attached);
  FCS_DETAIL("%s:end\n");
  return true;
}

} // namespace

void fcs_map_port_type(uint32_t *type) {
  switch (*type) {
  case 0x00: *type = 1; break;  // unidentified
  case 0x01: *type = 9; break;  // N_Port
  case 0x02: *type = 10; break; // NL_Port
  case 0x7F: *type = 11; break; // Nx_Port
  case 0x81: *type = 2; break;  // F_Port
  case 0x82: *type = 3; break;  // FL_Port
  case 0x84: *type = 4; break;  // E_Port
  case 0x85: *type = 5; break;  // B_Port
  case 0xF9: *type = 18; break;
  case 0xFA: *type = 17; break;
  case 0xFC: *type = 13; break;
  case 0xFD: *type = 7; break;
  case 0xFE: *type = 12; break;
  case 0xFF: *type = 8; break;
  default: break;
  }
}

void fcs_map_port_state(uint32_t *state) {
  *state = *state <= 4 ? *state + 1 : 6;
}

void fcs_map_port_tx_type(uint32_t * /*type*/) {}

u_char *var_fcsPortListTable(variable *vp, oid *name, size_t *length, int exact, size_t *var_len,
                             WriteMethod **write_method) {
  FCS_DETAIL("%s:entering\n");
  if (!header_fcs_port_list_table(
          fcs_row_request(vp, name, length, exact, var_len, write_method)) ||
      port_list.record.list_index == FCS_END_OF_TABLE) {
    FCS_DETAIL("%s:return NULL\n");
    return nullptr;
  }
  if (vp->magic == fcsPortListIndex) {
    FCS_DETAIL("%s:return port list index\n");
    return reinterpret_cast<u_char *>(&port_list.record.list_index);
  }
  snmp_set_detail("");
  return nullptr;
}

// Deliberately without a test for the end of the table: only a failed exchange ends this one.
u_char *var_fcsPortTable(variable *vp, oid *name, size_t *length, int exact, size_t *var_len,
                         WriteMethod **write_method) {
  FCS_DETAIL("%s:entering\n");
  if (!header_fcs_port_table(fcs_row_request(vp, name, length, exact, var_len, write_method))) {
    FCS_DETAIL("%s:return NULL\n");
    return nullptr;
  }
  FcsPortRecord &row = port.record;
  switch (vp->magic) {
  case fcsPortType:
    fcs_map_port_type(&row.type);
    FCS_DETAIL("%s:return port type\n");
    return reinterpret_cast<u_char *>(&row.type);
  case fcsPortTxType:
    FCS_DETAIL("%s:return port tx type\n");
    return reinterpret_cast<u_char *>(&row.tx_type);
  case fcsPortModuleType:
    FCS_DETAIL("%s:return module type \n");
    return reinterpret_cast<u_char *>(&row.module_type);
  case fcsPortPhyPortNum:
    FCS_DETAIL("%s:return physicasl port num\n");
    return reinterpret_cast<u_char *>(&row.physical_port);
  case fcsPortAttachPortNameIndex:
    FCS_DETAIL("%s:return port name index\n");
    return reinterpret_cast<u_char *>(&row.attached_list_index);
  case fcsPortState:
    fcs_map_port_state(&row.state);
    FCS_DETAIL("%s:return port state\n");
    return reinterpret_cast<u_char *>(&row.state);
  default: snmp_set_detail(""); return nullptr;
  }
}

u_char *var_fcsAttachPortNameListTable(variable *vp, oid *name, size_t *length, int exact,
                                       size_t *var_len, WriteMethod **write_method) {
  FCS_DETAIL("%s:entering\n");
  if (!header_fcs_attach_port_table(
          fcs_row_request(vp, name, length, exact, var_len, write_method)) ||
      attached.record.list_index == FCS_END_OF_TABLE) {
    FCS_DETAIL("%s:return NULL\n");
    return nullptr;
  }
  if (vp->magic == fcsAttachPortName) {
    *var_len = sizeof(attached.record.name);
    FCS_DETAIL("%s:return attach port name\n");
    return attached.record.name;
  }
  snmp_set_detail("");
  return nullptr;
}
