// SPDX-License-Identifier: BSD-3-Clause
/**
 * The SNMP module of the Fabric Configuration Server: its objects, its state, and the handlers that
 * the variable table names. The agent calls one handler at a time, and every buffer here relies on
 * it: a value returned to the agent is valid until the next request.
 */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "frame/fcs_exchange.h"
#include "platform/agent_host.h"
#include "platform/bitmap.h"
#include "platform/row_index.h"

#include <cstdint>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

/** The registered objects by name, with the magic that the variable table gives their handlers. */
enum FcsObject : u_char {
  fcsVsanDiscoverySpinLock = 1,
  fcsVsanDiscoveryName = 2,
  fcsVsanDiscoveryList2k = 3,
  fcsVsanDiscoveryList4k = 4,
  fcsStartDiscovery = 5,
  fcsDiscoveryStatus = 8,
  fcsDiscoveryCompletedTime = 9,
  fcsVsanDiscoveryTimeOut = 10,
  fcsDiscoveryInvalidateCache2k = 11,
  fcsDiscoveryInvalidateCache4k = 12,
  fcsIeNumber = 13,
  fcsIeType = 17,
  fcsIeDomainId = 18,
  fcsIeMgmtId = 19,
  fcsIeFabricName = 20,
  fcsIeLogicalName = 21,
  fcsIeMgmtAddrListIndex = 22,
  fcsIeInfoList = 23,
  fcsIePortListIndex = 24,
  fcsMgmtAddr = 29,
  fcsMgmtAddrConfigSource = 30,
  fcsMgmtAddrRowStatus = 31,
  fcsPortListIndex = 34,
  fcsPortNumber = 35,
  fcsPortType = 39,
  fcsPortTxType = 40,
  fcsPortModuleType = 41,
  fcsPortPhyPortNum = 42,
  fcsPortAttachPortNameIndex = 43,
  fcsPortState = 44,
  fcsAttachPortName = 48,
  fcsPlatformNumber = 49,
  fcsPlatformName = 53,
  fcsPlatformType = 54,
  fcsPlatformNodeNameListIndex = 55,
  fcsPlatformMgmtAddrListIndex = 56,
  fcsPlatformConfigSource = 57,
  fcsPlatformValidation = 58,
  fcsPlatformValidationResult = 59,
  fcsPlatformRowStatus = 60,
  fcsNodeNameConfigSource = 65,
  fcsNodeNameRowStatus = 66,
  fcsReqRejNotifyEnable = 67,
  fcsDiscoveryCompleteNotifyEnable = 68,
  fcsTotalRejects = 69,
  fcsRxGetReqs = 72,
  fcsTxGetReqs = 73,
  fcsRxRegReqs = 74,
  fcsTxRegReqs = 75,
  fcsRxDeregReqs = 76,
  fcsTxDeregReqs = 77,
  fcsTxRscns = 78,
  fcsRxRscns = 79,
  fcsRejects = 80,
  fcsRejReasonCode = 81,
  fcsRejReasonCodeExpl = 82,
};

/**
 * Registers the module with the agent and the agent host, under the handler name "fcs_mib", by
 * which the registrations are found again. To be called between init_agent and init_snmp, or by a
 * load hook while the agent runs; the platform's calls may come from then on.
 */
void init_fcs_mib();

/** Takes the registrations down; the module's state stays. Called by the unload hook. */
void deinit_fcs_mib();

// ---- Read handlers, by the file that holds them. Each returns the value, or null for no instance.

FindVarMethod var_zephrinFcsMIB; // fcs_scalars.cpp

FindVarMethod var_fcsStatsTable; // fcs_statistics.cpp

FindVarMethod var_fcsIeTable; // fcs_ie_table.cpp

FindVarMethod var_fcsPortListTable; // fcs_port_tables.cpp
FindVarMethod var_fcsPortTable;
FindVarMethod var_fcsAttachPortNameListTable;

FindVarMethod var_fcsMgmtAddrListTable; // fcs_config_tables.cpp
FindVarMethod var_fcsPlatformTable;
FindVarMethod var_fcsNodeNameListTable;

FindVarMethod var_fcsDiscoveryStatusTable; // fcs_discovery_status_table.cpp

// ---- Write handlers, by the file that holds them.

WriteMethod write_fcsVsanDiscoverySpinLock; // fcs_discovery_parameters.cpp
WriteMethod write_fcsVsanDiscoveryName;
WriteMethod write_fcsVsanDiscoveryList2k;
WriteMethod write_fcsVsanDiscoveryList4k;
WriteMethod write_fcsVsanDiscoveryTimeOut;

WriteMethod write_fcsStartDiscovery; // fcs_discovery_actions.cpp
WriteMethod write_fcsDiscoveryInvalidateCache2k;
WriteMethod write_fcsDiscoveryInvalidateCache4k;

WriteMethod write_fcsReqRejNotifyEnable; // fcs_notif_enable.cpp
WriteMethod write_fcsDiscoveryCompleteNotifyEnable;

WriteMethod write_fcsMgmtAddr; // fcs_mgmt_addr_rows.cpp
WriteMethod write_fcsMgmtAddrRowStatus;

WriteMethod write_fcsPlatformName; // fcs_platform_rows.cpp
WriteMethod write_fcsPlatformRowStatus;

WriteMethod write_fcsPlatformType; // fcs_platform_columns.cpp
WriteMethod write_fcsPlatformNodeNameListIndex;
WriteMethod write_fcsPlatformMgmtAddrListIndex;
WriteMethod write_fcsPlatformValidation;

WriteMethod write_fcsNodeNameRowStatus; // fcs_node_name_rows.cpp

// ---- Handlers of the service's notifications (fcs_notifications.cpp).

AgentNotifHandler handle_fcs_reg_req_rej_notif;
AgentNotifHandler handle_fcs_disc_comp_notif;
AgentNotifHandler handle_fcs_disc_comp_on_vsan_notif;
AgentNotifHandler handle_fcs_timeout_on_vsan_notif;
AgentNotifHandler handle_fcs_ip_addr_change_notif;

// ---- Pending rows: their order, and what a platform begins with.

RowIndexCompare mgmt_addr_cmp; // fcs_mgmt_addr_rows.cpp
RowIndexCompare platform_cmp;  // fcs_platform_rows.cpp

/** Gives a row what `write_fcsPlatformName` creates it with; index, name and row status stay. */
void set_platform_defaults(PlatformEntry *row);

// ---- Module state. A 2k bitmap holds VSANs 1 to 2048, a 4k bitmap VSANs 2049 to 4096.

extern VsanBitmap fcs_vsan_2k; ///< The VSAN discovery list as last written.
extern VsanBitmap fcs_vsan_4k;
extern VsanBitmap fcs_vsan_total_2k; ///< VSANs on which a discovery is outstanding.
extern VsanBitmap fcs_vsan_total_4k;
extern VsanBitmap fcs_notif_2k; ///< VSANs whose discovery-complete notification has arrived.
extern VsanBitmap fcs_notif_4k;
extern VsanBitmap fcs_invalidate_cache_2k; ///< VSANs of the last cache invalidation.
extern VsanBitmap fcs_invalidate_cache_4k;

extern char fcs_discovery_name[FCS_DISCOVERY_NAME_SIZE];
extern int32_t fcs_spin_lock;
extern int32_t fcs_discovery_timeout;
extern int32_t fcs_start_discovery;
extern int32_t fcs_rej_reason_code;      ///< The last reject reason, as fcsRejReasonCode shows it.
extern int32_t fcs_rej_reason_code_expl; ///< Its explanation, as fcsRejReasonCodeExpl shows it.

extern RowIndex *temp_mgmt_addr_table; ///< Rows that a manager is creating.
extern RowIndex *temp_platform_table;

/** Through this word every scalar of integer type is returned. */
extern FcsAnswer<int32_t> fcs_return_value;
