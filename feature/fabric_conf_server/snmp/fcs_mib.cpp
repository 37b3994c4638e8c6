// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_mib.h"

#include "fcs_variables.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "frame/fcs_row_lookup.h"
#include "frame/fcs_values.h"

#include <cstdio>
#include <iterator>

VsanBitmap fcs_vsan_2k;
VsanBitmap fcs_vsan_4k;
VsanBitmap fcs_vsan_total_2k;
VsanBitmap fcs_vsan_total_4k;
VsanBitmap fcs_notif_2k;
VsanBitmap fcs_notif_4k;
VsanBitmap fcs_invalidate_cache_2k;
VsanBitmap fcs_invalidate_cache_4k;

char fcs_discovery_name[FCS_DISCOVERY_NAME_SIZE];
int32_t fcs_spin_lock;
int32_t fcs_discovery_timeout = FCS_DEFAULT_DISC_TIMEOUT;
int32_t fcs_start_discovery = 2;
int32_t fcs_rej_reason_code = 1;
int32_t fcs_rej_reason_code_expl = 1;

RowIndex *temp_mgmt_addr_table;
RowIndex *temp_platform_table;

FcsAnswer<int32_t> fcs_return_value;

namespace {

constexpr char kModuleName[] = "fcs_mib";

/** The module root; the build configuration holds its value. */
constexpr oid fcs_mib_variables_oid[] = {FCS_MODULE_ROOT};
static_assert(std::size(fcs_mib_variables_oid) == FCS_ROOT_LENGTH);

struct NotificationHandler {
  uint32_t opcode;
  AgentNotifHandler *handler;
};

constexpr NotificationHandler kNotificationHandlers[] = {
    {FCS_MSG_REG_REQ_REJ, handle_fcs_reg_req_rej_notif},
    {FCS_MSG_DISC_COMPLETE, handle_fcs_disc_comp_notif},
    {FCS_MSG_DISC_COMP_ON_VSAN, handle_fcs_disc_comp_on_vsan_notif},
    {FCS_MSG_TIMEOUT_ON_VSAN, handle_fcs_timeout_on_vsan_notif},
    {FCS_MSG_IP_ADDR_CHANGE, handle_fcs_ip_addr_change_notif},
};

void register_variables() {
  const int result =
      register_mib(kModuleName, reinterpret_cast<const variable *>(fcs_mib_variables),
                   sizeof(fcs_mib_variables[0]), std::size(fcs_mib_variables),
                   fcs_mib_variables_oid, std::size(fcs_mib_variables_oid));
  if (result != MIB_REGISTERED_OK && snmp_get_do_debugging() != 0) {
    // Log scanners know this failure by its place, which is therefore fixed.
    constexpr char kPlace[] = "%s(): %s, %d:\n";
    constexpr char kFile[] = "../feature/fabric_conf_server/snmp/fcs_mib";
    debugmsgtoken("trace", kPlace, "init_fcs_mib", kFile, 406);
    debugmsg("trace", kPlace, "init_fcs_mib", kFile, 406);
    debugmsgtoken("register_mib", "%s registration failed\n", kModuleName);
    debugmsg("register_mib", "%s registration failed\n", kModuleName);
  }
}

void unregister_variables() {
  unregister_mib(const_cast<oid *>(fcs_mib_variables_oid), std::size(fcs_mib_variables_oid));
}

void clear_bitmaps() {
  VsanBitmap *const bitmaps[] = {
      &fcs_vsan_total_2k,
      &fcs_vsan_total_4k,
      &fcs_vsan_2k,
      &fcs_vsan_4k,
      &fcs_notif_2k,
      &fcs_notif_4k,
      &fcs_invalidate_cache_2k,
      &fcs_invalidate_cache_4k,
  };
  for (VsanBitmap *bitmap : bitmaps) {
    fcs_bitmap_init(bitmap, VSAN_HALF_BYTES);
  }
}

/** Without its pending-row stores the module has no variables, but still hears notifications. */
void create_pending_row_stores() {
  if (row_index_create(&temp_mgmt_addr_table, 0, 1, mgmt_addr_cmp, 1) != ROW_INDEX_CREATED) {
    unregister_variables();
  }
  if (row_index_create(&temp_platform_table, 0, 1, platform_cmp, 1) != ROW_INDEX_CREATED) {
    row_index_destroy(temp_mgmt_addr_table);
    temp_mgmt_addr_table = nullptr;
    unregister_variables();
  }
}

} // namespace

void init_fcs_mib() {
  register_variables();
  clear_bitmaps();
  create_pending_row_stores();
  for (const NotificationHandler &notification : kNotificationHandlers) {
    agent_notif_register(notification.opcode, notification.handler);
  }
}

void deinit_fcs_mib() {
  printf("DEBUG : ENTER %s \n", static_cast<const char *>(__func__));
  unregister_variables();
  for (const NotificationHandler &notification : kNotificationHandlers) {
    agent_notif_unregister(notification.opcode);
  }
  printf("DEBUG : EXIT %s \n", static_cast<const char *>(__func__));
}
