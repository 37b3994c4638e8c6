// SPDX-License-Identifier: BSD-3-Clause
/** Writing the VSAN lists: the check that all four of them begin with. */
#pragma once

#include "fcs_vsan_half.h"
#include "frame/fcs_write.h"

/** What a VSAN list accepts, and what its handler traces when the role refuses a VSAN of it. */
struct VsanListLimits {
  FcsWriteLimits value;
  FcsLine not_writable;
};

/**
 * RESERVE1 of a VSAN list: its type and length, and whether the user may write every VSAN it names.
 * Traces the phase under the handler's name.
 * \return an SNMP error status.
 */
int fcs_reserve_vsan_list(const VsanListLimits &limits, const VsanHalf &half, const char *handler,
                          const u_char *value, u_char type, size_t length, const oid *name,
                          size_t name_length);

/** Replaces a list of one half by the octets of a value of at most 256. */
void fcs_store_vsan_list(VsanBitmap *list, const u_char *value, size_t length);
