#include "fcs_mib.h"

#include "feature/fabric_conf_server/fcs_protocol.h"
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

char fcs_discovery_name[33];
int32_t fcs_spin_lock;
int32_t fcs_discovery_timeout = 900;
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
static_assert(std::size(fcs_mib_variables_oid) == 9);

constexpr u_short RO = NETSNMP_OLDAPI_RONLY;
constexpr u_short RW = NETSNMP_OLDAPI_RWRITE;

/**
 * The registered objects, in the order of their OIDs. Deliberately absent are the index columns
 * that a manager finds in the instance OID, and the objects that only notifications carry.
 */
constexpr variable7 fcs_mib_variables[] = {
    {fcsVsanDiscoverySpinLock, ASN_INTEGER, RW, var_zephrinFcsMIB, 3, {1, 1, 1}},
    {fcsVsanDiscoveryName, ASN_OCTET_STR, RW, var_zephrinFcsMIB, 3, {1, 1, 2}},
    {fcsVsanDiscoveryList2k, ASN_OCTET_STR, RW, var_zephrinFcsMIB, 3, {1, 1, 3}},
    {fcsVsanDiscoveryList4k, ASN_OCTET_STR, RW, var_zephrinFcsMIB, 3, {1, 1, 4}},
    {fcsStartDiscovery, ASN_INTEGER, RW, var_zephrinFcsMIB, 3, {1, 1, 5}},
    {fcsDiscoveryStatus, ASN_INTEGER, RO, var_fcsDiscoveryStatusTable, 5, {1, 1, 6, 1, 1}},
    {fcsDiscoveryCompletedTime, ASN_TIMETICKS, RO, var_fcsDiscoveryStatusTable, 5, {1, 1, 6, 1, 2}},
    {fcsVsanDiscoveryTimeOut, ASN_UNSIGNED, RW, var_zephrinFcsMIB, 3, {1, 1, 7}},
    {fcsDiscoveryInvalidateCache2k, ASN_OCTET_STR, RW, var_zephrinFcsMIB, 3, {1, 1, 8}},
    {fcsDiscoveryInvalidateCache4k, ASN_OCTET_STR, RW, var_zephrinFcsMIB, 3, {1, 1, 9}},
    {fcsIeNumber, ASN_INTEGER, RO, var_zephrinFcsMIB, 3, {1, 1, 10}},
    {fcsIeType, ASN_INTEGER, RO, var_fcsIeTable, 5, {1, 1, 11, 1, 2}},
    {fcsIeDomainId, ASN_INTEGER, RO, var_fcsIeTable, 5, {1, 1, 11, 1, 3}},
    {fcsIeMgmtId, ASN_OCTET_STR, RO, var_fcsIeTable, 5, {1, 1, 11, 1, 4}},
    {fcsIeFabricName, ASN_OCTET_STR, RO, var_fcsIeTable, 5, {1, 1, 11, 1, 5}},
    {fcsIeLogicalName, ASN_OCTET_STR, RO, var_fcsIeTable, 5, {1, 1, 11, 1, 6}},
    {fcsIeMgmtAddrListIndex, ASN_INTEGER, RO, var_fcsIeTable, 5, {1, 1, 11, 1, 7}},
    {fcsIeInfoList, ASN_OCTET_STR, RO, var_fcsIeTable, 5, {1, 1, 11, 1, 8}},
    {fcsIePortListIndex, ASN_INTEGER, RO, var_fcsIeTable, 5, {1, 1, 11, 1, 9}},
    {fcsMgmtAddr, ASN_OCTET_STR, RW, var_fcsMgmtAddrListTable, 5, {1, 1, 12, 1, 3}},
    {fcsMgmtAddrConfigSource, ASN_INTEGER, RO, var_fcsMgmtAddrListTable, 5, {1, 1, 12, 1, 4}},
    {fcsMgmtAddrRowStatus, ASN_INTEGER, RW, var_fcsMgmtAddrListTable, 5, {1, 1, 12, 1, 5}},
    {fcsPortListIndex, ASN_INTEGER, RO, var_fcsPortListTable, 5, {1, 1, 13, 1, 1}},
    {fcsPortNumber, ASN_INTEGER, RO, var_zephrinFcsMIB, 3, {1, 1, 14}},
    {fcsPortType, ASN_INTEGER, RO, var_fcsPortTable, 5, {1, 1, 15, 1, 2}},
    {fcsPortTxType, ASN_INTEGER, RO, var_fcsPortTable, 5, {1, 1, 15, 1, 3}},
    {fcsPortModuleType, ASN_INTEGER, RO, var_fcsPortTable, 5, {1, 1, 15, 1, 4}},
    {fcsPortPhyPortNum, ASN_INTEGER, RO, var_fcsPortTable, 5, {1, 1, 15, 1, 5}},
    {fcsPortAttachPortNameIndex, ASN_INTEGER, RO, var_fcsPortTable, 5, {1, 1, 15, 1, 6}},
    {fcsPortState, ASN_INTEGER, RO, var_fcsPortTable, 5, {1, 1, 15, 1, 7}},
    {fcsAttachPortName, ASN_OCTET_STR, RO, var_fcsAttachPortNameListTable, 5, {1, 1, 16, 1, 2}},
    {fcsPlatformNumber, ASN_INTEGER, RO, var_zephrinFcsMIB, 3, {1, 1, 17}},
    {fcsPlatformName, ASN_OCTET_STR, RW, var_fcsPlatformTable, 5, {1, 1, 18, 1, 2}},
    {fcsPlatformType, ASN_INTEGER, RW, var_fcsPlatformTable, 5, {1, 1, 18, 1, 3}},
    {fcsPlatformNodeNameListIndex, ASN_INTEGER, RW, var_fcsPlatformTable, 5, {1, 1, 18, 1, 4}},
    {fcsPlatformMgmtAddrListIndex, ASN_INTEGER, RW, var_fcsPlatformTable, 5, {1, 1, 18, 1, 5}},
    {fcsPlatformConfigSource, ASN_INTEGER, RO, var_fcsPlatformTable, 5, {1, 1, 18, 1, 6}},
    {fcsPlatformValidation, ASN_INTEGER, RW, var_fcsPlatformTable, 5, {1, 1, 18, 1, 7}},
    {fcsPlatformValidationResult, ASN_INTEGER, RO, var_fcsPlatformTable, 5, {1, 1, 18, 1, 8}},
    {fcsPlatformRowStatus, ASN_INTEGER, RW, var_fcsPlatformTable, 5, {1, 1, 18, 1, 9}},
    {fcsNodeNameConfigSource, ASN_INTEGER, RO, var_fcsNodeNameListTable, 5, {1, 1, 19, 1, 3}},
    {fcsNodeNameRowStatus, ASN_INTEGER, RW, var_fcsNodeNameListTable, 5, {1, 1, 19, 1, 4}},
    {fcsReqRejNotifyEnable, ASN_INTEGER, RW, var_zephrinFcsMIB, 3, {1, 1, 20}},
    {fcsDiscoveryCompleteNotifyEnable, ASN_INTEGER, RW, var_zephrinFcsMIB, 3, {1, 1, 21}},
    {fcsTotalRejects, ASN_COUNTER, RO, var_zephrinFcsMIB, 3, {1, 2, 1}},
    {fcsRxGetReqs, ASN_COUNTER, RO, var_fcsStatsTable, 5, {1, 2, 2, 1, 1}},
    {fcsTxGetReqs, ASN_COUNTER, RO, var_fcsStatsTable, 5, {1, 2, 2, 1, 2}},
    {fcsRxRegReqs, ASN_COUNTER, RO, var_fcsStatsTable, 5, {1, 2, 2, 1, 3}},
    {fcsTxRegReqs, ASN_COUNTER, RO, var_fcsStatsTable, 5, {1, 2, 2, 1, 4}},
    {fcsRxDeregReqs, ASN_COUNTER, RO, var_fcsStatsTable, 5, {1, 2, 2, 1, 5}},
    {fcsTxDeregReqs, ASN_COUNTER, RO, var_fcsStatsTable, 5, {1, 2, 2, 1, 6}},
    {fcsTxRscns, ASN_COUNTER, RO, var_fcsStatsTable, 5, {1, 2, 2, 1, 7}},
    {fcsRxRscns, ASN_COUNTER, RO, var_fcsStatsTable, 5, {1, 2, 2, 1, 8}},
    {fcsRejects, ASN_COUNTER, RO, var_fcsStatsTable, 5, {1, 2, 2, 1, 9}},
    {fcsRejReasonCode, ASN_INTEGER, RO, var_zephrinFcsMIB, 3, {1, 3, 1}},
    {fcsRejReasonCodeExpl, ASN_INTEGER, RO, var_zephrinFcsMIB, 3, {1, 3, 2}},
};
static_assert(std::size(fcs_mib_variables) == 56);

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
    fcs_bitmap_init(bitmap, FCS_HALF_BYTES);
  }
}

/** Without its pending-row stores the module gives up its variables, but still hears notifications.
 */
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
