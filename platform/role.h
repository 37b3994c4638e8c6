// SPDX-License-Identifier: BSD-3-Clause
/**
 * Role service: which VSANs the user of the request being served may read or write. Its sets have a
 * byte count of VSAN_WHOLE_BYTES, and VSAN v is bit v.
 */
#pragma once

#include "bitmap.h"

#include <cstddef>
#include <cstdint>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/library/oid.h>

/** Access codes: the tags of the GetRequest and SetRequest PDUs (RFC 3416). */
enum RoleAccess : int { ROLE_ACCESS_READ = 160, ROLE_ACCESS_WRITE = 163 };

/**
 * The VSANs that the user may access.
 * \param allowed Cleared by the caller; receives the VSANs when a restriction applies.
 * \return nonzero when the user is restricted to `allowed`, 0 when there is no restriction.
 */
int role_allowed_vsans(VsanBitmap *allowed, const oid *name, size_t name_length, int access);

/**
 * The VSANs of `list` that the user may access.
 * \param allowed Receives them; its previous bits are dropped.
 * \return 0 on success, nonzero when the user cannot be told.
 */
int role_allowed_vsans_from_list(const VsanBitmap *list, VsanBitmap *allowed, const oid *name,
                                 size_t name_length, int access);

/**
 * Whether the user may access every VSAN of `vsans`.
 * \return 1 when so; any other value refuses.
 */
int role_vsan_bitmap_allowed(const VsanBitmap *vsans, const oid *name, size_t name_length,
                             int access);

/** Nonzero when `vsan` is in `allowed`. Every call is handed a copy of its own. */
int role_vsan_allowed(uint32_t vsan, VsanBitmap allowed);

/**
 * Moves `*vsan` to the next VSAN of `allowed` that is strictly above it. Every call is handed a
 * copy of its own.
 * \return 0 when there is none; `*vsan` is then unchanged.
 */
int role_next_allowed_vsan(uint32_t *vsan, VsanBitmap allowed);
