// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_config_tables.h"

#include "fcs_config_lookup.h"
#include "fcs_mib.h"
#include "frame/fcs_trace.h"
#include "frame/fcs_write.h"

namespace {

FcsAnswer<MgmtAddrEntry> mgmt_addr;
FcsAnswer<PlatformEntry> platform;
FcsAnswer<NodeNameEntry> node_name;

/** RowStatus active: every row of the service is; rows being created are not visible. */
constexpr int32_t kActive = 1;
/** What fcsPlatformValidation always reads as: no validation requested. */
constexpr int32_t kNoValidation = 2;

/** Columns that are computed rather than read are returned through a word of their table's own. */
u_char *computed(int32_t &word, int32_t value) {
  word = value;
  return reinterpret_cast<u_char *>(&word);
}

/** Where a row comes from: 1 configuration, 2 elsewhere. */
int32_t config_source(uint32_t flag) {
  return flag != 0 ? 1 : 2;
}

constexpr FcsWritable kMgmtAddrColumns[] = {
    {fcsMgmtAddr, write_fcsMgmtAddr},
    {fcsMgmtAddrRowStatus, write_fcsMgmtAddrRowStatus},
};
constexpr FcsWritable kPlatformColumns[] = {
    {fcsPlatformName, write_fcsPlatformName},
    {fcsPlatformType, write_fcsPlatformType},
    {fcsPlatformNodeNameListIndex, write_fcsPlatformNodeNameListIndex},
    {fcsPlatformMgmtAddrListIndex, write_fcsPlatformMgmtAddrListIndex},
    {fcsPlatformValidation, write_fcsPlatformValidation},
    {fcsPlatformRowStatus, write_fcsPlatformRowStatus},
};
constexpr FcsWritable kNodeNameColumns[] = {
    {fcsNodeNameRowStatus, write_fcsNodeNameRowStatus},
};

} // namespace

void set_mgmt_addr_table_set_methods(u_char magic, WriteMethod **write_method) {
  fcs_hand_out_write_method(kMgmtAddrColumns, magic, write_method);
}

void set_platform_table_set_methods(u_char magic, WriteMethod **write_method) {
  fcs_hand_out_write_method(kPlatformColumns, magic, write_method);
}

void set_node_name_table_set_methods(u_char magic, WriteMethod **write_method) {
  fcs_hand_out_write_method(kNodeNameColumns, magic, write_method);
}

void fcs_map_platform_type(uint32_t *type) {
  if (*type >= 5 && *type <= 14) {
    *type -= 2;
  }
}

void fcs_reverse_map_platform_type(uint32_t *type) {
  if (*type >= 3 && *type <= 12) {
    *type += 2;
  }
}

// Each handler hands out the write handler before it looks the row up, so that a SET can create a
// row that is not there, and again behind the lookup, which takes it away.

u_char *var_fcsMgmtAddrListTable(variable *vp, oid *name, size_t *length, int exact,
                                 size_t *var_len, WriteMethod **write_method) {
  static int32_t word;
  FCS_DETAIL("%s:entering\n");
  set_mgmt_addr_table_set_methods(vp->magic, write_method);
  if (header_fcs_mgmt_addr_table(vp->name, vp->namelen, name, length, exact, var_len, write_method,
                                 &mgmt_addr) == -1) {
    FCS_DETAIL("%s:return NULL\n");
    return nullptr;
  }
  set_mgmt_addr_table_set_methods(vp->magic, write_method);
  MgmtAddrEntry &row = mgmt_addr.record;
  switch (vp->magic) {
  case fcsMgmtAddr:
    *var_len = row.address_length;
    FCS_DETAIL("%s:return mgmt addr\n");
    return row.address;
  case fcsMgmtAddrConfigSource:
    FCS_DETAIL("%s:return mgmt addr config source\n");
    return computed(word, config_source(row.config_source));
  case fcsMgmtAddrRowStatus:
    FCS_DETAIL("%s:return addr row status\n");
    return computed(word, kActive);
  default: snmp_set_detail(""); return nullptr;
  }
}

u_char *var_fcsPlatformTable(variable *vp, oid *name, size_t *length, int exact, size_t *var_len,
                             WriteMethod **write_method) {
  static int32_t word;
  FCS_DETAIL("%s:entering\n");
  set_platform_table_set_methods(vp->magic, write_method);
  if (header_fcs_platform_table(vp->name, vp->namelen, name, length, exact, var_len, write_method,
                                &platform) == -1) {
    FCS_DETAIL("%s:return NULL\n");
    return nullptr;
  }
  set_platform_table_set_methods(vp->magic, write_method);
  PlatformEntry &row = platform.record;
  switch (vp->magic) {
  case fcsPlatformName:
    *var_len = row.name_length;
    FCS_DETAIL("%s:return plat name\n");
    return row.name;
  case fcsPlatformType:
    fcs_map_platform_type(&row.type);
    FCS_DETAIL("%s:return plat type\n");
    return reinterpret_cast<u_char *>(&row.type);
  case fcsPlatformNodeNameListIndex:
    FCS_DETAIL("%s:return node name index\n");
    return reinterpret_cast<u_char *>(&row.node_name_list_index);
  case fcsPlatformMgmtAddrListIndex:
    FCS_DETAIL("%s:return mgmt addr list\n");
    return reinterpret_cast<u_char *>(&row.mgmt_addr_list_index);
  case fcsPlatformConfigSource:
    FCS_DETAIL("%s:return config source\n");
    return computed(word, config_source(row.config_source));
  case fcsPlatformValidation:
    FCS_DETAIL("%s:return validation\n");
    return computed(word, kNoValidation);
  case fcsPlatformValidationResult:
    FCS_DETAIL("%s:return validation result\n");
    return reinterpret_cast<u_char *>(&row.validation_result);
  case fcsPlatformRowStatus: FCS_DETAIL("%s:return row status\n"); return computed(word, kActive);
  default: snmp_set_detail(""); return nullptr;
  }
}

u_char *var_fcsNodeNameListTable(variable *vp, oid *name, size_t *length, int exact,
                                 size_t *var_len, WriteMethod **write_method) {
  static int32_t word;
  FCS_DETAIL("%s:entering\n");
  set_node_name_table_set_methods(vp->magic, write_method);
  if (header_fcs_node_name_list_table(vp->name, vp->namelen, name, length, exact, var_len,
                                      write_method, &node_name) == -1) {
    FCS_DETAIL("%s:return NULL\n");
    return nullptr;
  }
  set_node_name_table_set_methods(vp->magic, write_method);
  switch (vp->magic) {
  case fcsNodeNameConfigSource:
    FCS_DETAIL("%s:return conf stat\n");
    return computed(word, config_source(node_name.record.config_source));
  case fcsNodeNameRowStatus: FCS_DETAIL("%s:return row stat\n"); return computed(word, kActive);
  default: snmp_set_detail(""); return nullptr;
  }
}
