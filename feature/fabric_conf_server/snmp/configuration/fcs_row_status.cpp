// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_row_status.h"

#include "frame/fcs_trace.h"

#include <cstdio>

int fcs_check_row_status(const FcsRowStatusLimits &limits, const FcsRowWrite &write) {
  FCS_DETAIL_AS(write.handler, "%s:enter rev1\n");
  if (const int refusal = fcs_check_value(limits.value, write.handler, write.type, write.length);
      refusal != SNMP_ERR_NOERROR) {
    return refusal;
  }
  const int32_t status = write.integer();
  // A value outside RowStatus is deliberately inconsistent, not wrong.
  if (status != RS_ACTIVE && status != RS_CREATEANDGO && status != RS_DESTROY) {
    FCS_DETAIL_LINE(write.handler, limits.unknown);
    return SNMP_ERR_INCONSISTENTVALUE;
  }
  if (write.current != nullptr && status == RS_CREATEANDGO) {
    if (limits.taken_on_stderr) {
      fputs("Ret inconsis 3\n", stderr);
    }
    FCS_DETAIL_LINE(write.handler, limits.taken);
    return SNMP_ERR_INCONSISTENTVALUE;
  }
  return SNMP_ERR_NOERROR;
}

void fcs_make_current_status_active(const FcsRowWrite &write) {
  if (write.current != nullptr) {
    *write.current = RS_ACTIVE;
  }
}

const char *fcs_row_status_verb(int32_t status) {
  return status == RS_CREATEANDGO ? "Create" : "Delete";
}
