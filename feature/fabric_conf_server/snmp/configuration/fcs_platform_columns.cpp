// SPDX-License-Identifier: BSD-3-Clause
/** Platforms: the integer columns, which change a row that the FCS service has. */
#include "fcs_config_lookup.h"
#include "fcs_config_tables.h"
#include "fcs_mib.h"
#include "frame/fcs_trace.h"
#include "frame/fcs_write.h"

namespace {

/** An integer column. */
struct PlatformColumn {
  FcsWriteLimits limits;
  uint32_t max_value; ///< From 1; 0: every value is accepted.
  uint32_t PlatformEntry::*field;
  void (*encode)(uint32_t *value); ///< To what the service has in the field; null: the same.
  FcsLine failed;                  ///< The event of a failure, with its text.
};

constexpr uint32_t kPlatformTypes = 12;
constexpr uint32_t kValidationValues = 2;

/** fcsPlatformValidation: 1 asks the service to validate the row, 2 does not. */
void encode_validation(uint32_t *value) {
  *value = *value == 1 ? 1 : 0;
}

constexpr PlatformColumn kType = {
    .limits = {"fcsPlatformType", ASN_INTEGER, 4, "%s:wrong type\n", "%s:wrong len\n"},
    .max_value = kPlatformTypes,
    .field = &PlatformEntry::type,
    .encode = fcs_reverse_map_platform_type,
    .failed = "Setting of platform type fails witherror : %s\n"};
constexpr PlatformColumn kNodeNameListIndex = {
    .limits = {"fcsPlatformNodeNameListIndex", ASN_INTEGER, 4, "%s:wrong type\n", "%s:bad len\n"},
    .max_value = 0,
    .field = &PlatformEntry::node_name_list_index,
    .encode = nullptr,
    .failed = "Setting of plat node name indx fails witherror : %s\n"};
constexpr PlatformColumn kMgmtAddrListIndex = {
    .limits = {"fcsPlatformMgmtAddrListIndex", ASN_INTEGER, 4, "%s:wrong type\n",
               "%s:wrong length\n"},
    .max_value = 0,
    .field = &PlatformEntry::mgmt_addr_list_index,
    .encode = nullptr,
    .failed = "Setting of plat mgmt addr indx fails witherror : %s\n"};
constexpr PlatformColumn kValidation = {
    .limits = {"fcsPlatformValidation", ASN_INTEGER, 4, "%s:wrong type\n", "%s:bad len\n"},
    .max_value = kValidationValues,
    .field = &PlatformEntry::validation_request,
    .encode = encode_validation,
    .failed = "Setting of plat validation fails witherror : %s\n"};

int reserve(const PlatformColumn &column, const FcsRowWrite &write) {
  FCS_DETAIL_AS(write.handler, "%s:enter rev1\n");
  if (const int refusal = fcs_check_value(column.limits, write.handler, write.type, write.length);
      refusal != SNMP_ERR_NOERROR) {
    return refusal;
  }
  const uint32_t value = fcs_value_word(write.value);
  if (column.max_value != 0 && value - 1 >= column.max_value) {
    FCS_DETAIL_AS(write.handler, "%s:bad val\n");
    return SNMP_ERR_BADVALUE; // Deliberately the status of SNMPv1.
  }
  FCS_DETAIL_AS(write.handler, "%s:exit rev1\n");
  return SNMP_ERR_NOERROR;
}

/**
 * Sends the live row back with the one field changed. The row that a SET itself creates is live
 * only behind its row status: a column in front of it deliberately fails.
 */
int act(const PlatformColumn &column, const FcsRowWrite &write) {
  FCS_DETAIL_AS(write.handler, "%s:enter action\n");
  FcsAnswer<PlatformEntry> live;
  if (!fcs_find_live_row(header_fcs_platform_table, write, &live)) {
    FCS_DETAIL_AS(write.handler, "%s:inconsistent\n");
    return SNMP_ERR_INCONSISTENTVALUE;
  }
  PlatformEntry row = live.record;
  uint32_t value = fcs_value_word(write.value);
  if (column.encode != nullptr) {
    column.encode(&value);
  }
  row.validation_request = 0;
  row.*column.field = value;
  if (const int32_t result = fcs_set_data(FCS_REC_PLATFORM, FCS_OP_SET, &row, sizeof(row));
      result != 0) {
    FCS_EVENT(column.failed.format("%s"), fcs_exchange_error_text(result));
    fcs_report_set_error(result);
    return SNMP_ERR_GENERR;
  }
  FCS_DETAIL_AS(write.handler, "%s:exit action\n");
  return SNMP_ERR_NOERROR;
}

int write_column(const PlatformColumn &column, const FcsRowWrite &write) {
  switch (write.action) {
  case RESERVE1: return reserve(column, write);
  case ACTION: return act(column, write);
  default: return SNMP_ERR_NOERROR;
  }
}

} // namespace

int write_fcsPlatformType(int action, u_char *value, u_char type, size_t length, u_char *current,
                          oid *name, size_t name_length) {
  return write_column(kType, {__func__, action, value, type, length, current, name, name_length});
}

int write_fcsPlatformNodeNameListIndex(int action, u_char *value, u_char type, size_t length,
                                       u_char *current, oid *name, size_t name_length) {
  return write_column(kNodeNameListIndex,
                      {__func__, action, value, type, length, current, name, name_length});
}

int write_fcsPlatformMgmtAddrListIndex(int action, u_char *value, u_char type, size_t length,
                                       u_char *current, oid *name, size_t name_length) {
  return write_column(kMgmtAddrListIndex,
                      {__func__, action, value, type, length, current, name, name_length});
}

int write_fcsPlatformValidation(int action, u_char *value, u_char type, size_t length,
                                u_char *current, oid *name, size_t name_length) {
  return write_column(kValidation,
                      {__func__, action, value, type, length, current, name, name_length});
}
