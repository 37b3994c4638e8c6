// SPDX-License-Identifier: BSD-3-Clause
/** Node names: adding to and removing from a list. A row is its index, so none is ever pending. */
#include "fcs_config_lookup.h"
#include "fcs_mib.h"
#include "fcs_row_status.h"
#include "frame/fcs_trace.h"

#include <algorithm>

namespace {

constexpr size_t kNameLength = FCS_COLUMN_LENGTH + 1 + FCS_WWN_LENGTH;

constexpr FcsRowStatusLimits kLimits = {
    .value = {"fcsNodeNameRowStatus", ASN_INTEGER, 4, "%s:wr type\n", "%s:wr len\n"},
    .unknown = "%s:inconsis\n",
    .taken = "%s:inconsis len\n",
    .taken_on_stderr = false};

int reserve(const FcsRowWrite &write) {
  if (const int refusal = fcs_check_row_status(kLimits, write); refusal != SNMP_ERR_NOERROR) {
    return refusal;
  }
  if (write.name_length != kNameLength) {
    FCS_DETAIL_AS(write.handler, "%s:inconsis name\n");
    return SNMP_ERR_INCONSISTENTNAME;
  }
  FCS_DETAIL_AS(write.handler, "%s:exit rev1\n");
  return SNMP_ERR_NOERROR;
}

int confirm(const FcsRowWrite &write) {
  const int32_t status = write.integer();
  FCS_DETAIL_AS(write.handler, "%s:enter rev2\n");
  fcs_make_current_status_active(write);
  const bool live = fcs_is_live(header_fcs_node_name_list_table, write);
  if (live && status != RS_DESTROY && status != RS_ACTIVE) {
    FCS_DETAIL_AS(write.handler, "%s:inconsis\n");
    return SNMP_ERR_INCONSISTENTVALUE;
  }
  FCS_DETAIL_AS(write.handler, !live && status == RS_DESTROY ? "%s:end\n" : "%s:exit rev2\n");
  return SNMP_ERR_NOERROR;
}

/** Sends the row that the instance names, also to delete one that is not there; active, unlike in
 * the other tables, deliberately does nothing. */
int32_t send(const FcsRowWrite &write) {
  NodeNameEntry row{};
  row.list_index = static_cast<int32_t>(write.name[FCS_COLUMN_LENGTH]);
  std::transform(write.name + FCS_COLUMN_LENGTH + 1, write.name + kNameLength, row.name,
                 [](oid octet) { return static_cast<uint8_t>(octet); });
  switch (write.integer()) {
  case RS_CREATEANDGO: return fcs_set_data(FCS_REC_NODE_NAME, FCS_OP_SET, &row, sizeof(row));
  case RS_DESTROY: return fcs_set_data(FCS_REC_NODE_NAME, FCS_OP_DELETE, &row, sizeof(row));
  default: return 0;
  }
}

int act(const FcsRowWrite &write) {
  FCS_DETAIL_AS(write.handler, "%s:enter action\n");
  if (write.name_length != kNameLength) { // No agent gets this far with it.
    return SNMP_ERR_GENERR;
  }
  if (const int32_t result = send(write); result != 0) {
    FCS_EVENT("%s of node name fails with error %s\n", fcs_row_status_verb(write.integer()),
              fcs_exchange_error_text(result));
    fcs_report_set_error(result);
    return SNMP_ERR_GENERR;
  }
  FCS_DETAIL_AS(write.handler, "%s:exit action\n");
  return SNMP_ERR_NOERROR;
}

} // namespace

int write_fcsNodeNameRowStatus(int action, u_char *value, u_char type, size_t length,
                               u_char *current, oid *name, size_t name_length) {
  const FcsRowWrite write = {__func__, action, value, type, length, current, name, name_length};
  switch (action) {
  case RESERVE1: return reserve(write);
  case RESERVE2: return confirm(write);
  case ACTION: return act(write);
  default: return SNMP_ERR_NOERROR;
  }
}
