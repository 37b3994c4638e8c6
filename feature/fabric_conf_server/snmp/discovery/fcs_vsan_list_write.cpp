// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_vsan_list_write.h"

#include "platform/role.h"

#include <algorithm>
#include <cstring>

/** Whether the user may write every VSAN that the value names. */
static bool may_write(const VsanHalf &half, const u_char *value, size_t length, const oid *name,
                      size_t name_length) {
  VsanBitmap by_position;
  VsanBitmap by_id;
  fcs_bitmap_init(&by_position, VSAN_WHOLE_BYTES);
  fcs_bitmap_init(&by_id, VSAN_WHOLE_BYTES);
  memcpy(by_position.bytes + half.offset, value, length);
  fcs_vsan_shift_up(&by_position, &by_id);
  return role_vsan_bitmap_allowed(&by_id, name, name_length, ROLE_ACCESS_WRITE) == 1;
}

int fcs_reserve_vsan_list(const VsanListLimits &limits, const VsanHalf &half, const char *handler,
                          const u_char *value, u_char type, size_t length, const oid *name,
                          size_t name_length) {
  FCS_DETAIL_AS(handler, "%s:enter rev1\n");
  if (const int refusal = fcs_check_value(limits.value, handler, type, length);
      refusal != SNMP_ERR_NOERROR) {
    return refusal;
  }
  if (!may_write(half, value, length, name, name_length)) {
    agent_log_set_error(AGENT_VSAN_NOT_ALLOWED, 584);
    FCS_DETAIL_LINE(handler, limits.not_writable);
    return SNMP_ERR_NOTWRITABLE;
  }
  FCS_DETAIL_AS(handler, "%s:exit rev1\n");
  return SNMP_ERR_NOERROR;
}

void fcs_store_vsan_list(VsanBitmap *list, const u_char *value, size_t length) {
  bitmap_clear(list);
  memcpy(list->bytes, value, std::min<size_t>(length, VSAN_HALF_BYTES));
}
