// SPDX-License-Identifier: BSD-3-Clause
/** What the RowStatus columns (RFC 2579) of the configurable tables have in common. */
#pragma once

#include "frame/fcs_write.h"

/** What a RowStatus must be to pass RESERVE1. Lines are the handler's traces. */
struct FcsRowStatusLimits {
  FcsWriteLimits value;
  FcsLine unknown; ///< Another status than active, createAndGo and destroy.
  FcsLine taken;   ///< createAndGo of a row that is there.
  bool taken_on_stderr;
};

/**
 * The beginning of RESERVE1: entry, type, length and status.
 * \return SNMP_ERR_NOERROR or the refusal, which has been traced.
 */
int fcs_check_row_status(const FcsRowStatusLimits &limits, const FcsRowWrite &write);

/** Makes the status that the read handler returned active, if it returned one. */
void fcs_make_current_status_active(const FcsRowWrite &write);

/** "Create" or "Delete", as events call what a RowStatus asks for. */
const char *fcs_row_status_verb(int32_t status);
