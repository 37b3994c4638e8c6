// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_ie_table.h"

#include "fcs_mib.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "frame/fcs_row_lookup.h"
#include "frame/fcs_trace.h"

#include <cstring>

namespace {

IeKey ie_key;
FcsAnswer<IeEntry> ie;

constexpr FcsNameIndex kIndex = {.name_octets = FCS_WWN_LENGTH,
                                 .next_octets = sizeof(IeEntry) - sizeof(uint32_t)};
constexpr FcsVsanTable kTable = {
    .record_id = FCS_REC_IE, .key = &ie_key, .key_length = sizeof(ie_key), .record = &ie};

bool header_fcs_ie_table(const FcsRowRequest &request) {
  FCS_DETAIL("%s:entering\n");
  memset(&ie, 0, sizeof(ie_key));
  FCS_DETAIL_REQUEST(request);
  if (!fcs_read_index(kIndex, request, &ie)) {
    return false;
  }
  FCS_DETAIL_VALUES("%s:vsan index %d\n", static_cast<int32_t>(ie.record.vsan));
  if (!fcs_fetch_visible_row(kTable, request)) {
    return false;
  }
  fcs_write_index(kIndex, request, &ie);
  FCS_DETAIL("%s:end\n");
  return true;
}

} // namespace

void fcs_map_ie_type(uint32_t *type) {
  FCS_DETAIL("%s:entering\n");
  *type = *type >= 1 && *type <= 3 ? *type + 2 : 1;
  FCS_DETAIL("%s:end\n");
}

u_char *var_fcsIeTable(variable *vp, oid *name, size_t *length, int exact, size_t *var_len,
                       WriteMethod **write_method) {
  FCS_DETAIL("%s:entering\n");
  // The end of the table is seen only here, when the request's OID has been rewritten already.
  if (!header_fcs_ie_table(fcs_row_request(vp, name, length, exact, var_len, write_method)) ||
      ie.record.vsan == FCS_END_OF_TABLE) {
    FCS_DETAIL("%s:return NULL\n");
    return nullptr;
  }
  IeEntry &entry = ie.record;
  switch (vp->magic) {
  case fcsIeType:
    fcs_map_ie_type(&entry.type);
    FCS_DETAIL("%s:return ie type\n");
    return reinterpret_cast<u_char *>(&entry.type);
  case fcsIeDomainId:
    FCS_DETAIL("%s:return ie dom id\n");
    return reinterpret_cast<u_char *>(&entry.domain_id);
  case fcsIeMgmtId:
    *var_len = sizeof(entry.mgmt_id) - 1;
    FCS_DETAIL("%s:return ie mgmt id\n");
    return entry.mgmt_id + 1;
  case fcsIeFabricName:
    *var_len = sizeof(entry.fabric_name);
    FCS_DETAIL("%s:return fab name\n");
    return entry.fabric_name;
  case fcsIeLogicalName:
    *var_len = entry.logical_name_length;
    FCS_DETAIL("%s:return log name\n");
    return entry.logical_name;
  case fcsIeMgmtAddrListIndex:
    FCS_DETAIL("%s:return mgmt addr list\n");
    return reinterpret_cast<u_char *>(&entry.mgmt_addr_list_index);
  case fcsIeInfoList:
    *var_len = sizeof(entry.info_list);
    FCS_DETAIL("%s:return info list\n");
    return entry.info_list;
  case fcsIePortListIndex:
    FCS_DETAIL("%s:return port list\n");
    return reinterpret_cast<u_char *>(&entry.port_list_index);
  default: snmp_set_detail(""); return nullptr;
  }
}
