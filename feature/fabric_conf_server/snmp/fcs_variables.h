// SPDX-License-Identifier: BSD-3-Clause
/** The variable table: each registered object with its OID behind the module root, its handler. */
#pragma once

#include "fcs_mib.h"

#include <iterator>

constexpr u_short RO = NETSNMP_OLDAPI_RONLY;
constexpr u_short RW = NETSNMP_OLDAPI_RWRITE;

/**
 * The registered objects, in the order of their OIDs. Deliberately absent are the index columns
 * that a manager finds in the instance OID, and the objects that only notifications carry.
 */
inline constexpr variable7 fcs_mib_variables[] = {
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
