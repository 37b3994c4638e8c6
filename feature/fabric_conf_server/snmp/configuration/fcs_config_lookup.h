// SPDX-License-Identifier: BSD-3-Clause
/** Locating the rows of the three tables that managers can write to, for reads and for SETs. */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "frame/fcs_exchange.h"
#include "frame/fcs_row_lookup.h"
#include "frame/fcs_write.h"

#include <algorithm>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

/**
 * Locates a row of the management-address table: the one that `name` names (exact nonzero) or the
 * one that follows it.
 *
 * \param base         The column; a SET gives the instance OID itself.
 * \param base_length  Its sub-identifiers; FCS_COLUMN_LENGTH.
 * \param name         The instance asked for; replaced by the row's on success.
 * \param length       Its sub-identifiers; replaced on success.
 * \param var_len      Receives 4 on success; may be null.
 * \param write_method Receives null on success; may be null.
 * \param record       Receives the row. What lies behind its index goes to the service as it is.
 * \return the row's first index word; -1 when there is none, the OID is malformed or the exchange
 *         failed: nothing but `record` is then changed.
 */
int32_t header_fcs_mgmt_addr_table(const oid *base, size_t base_length, oid *name, size_t *length,
                                   int exact, size_t *var_len, WriteMethod **write_method,
                                   FcsAnswer<MgmtAddrEntry> *record);

/** The same for the platform table; a row in a VSAN that the user's role hides is no row. */
int32_t header_fcs_platform_table(const oid *base, size_t base_length, oid *name, size_t *length,
                                  int exact, size_t *var_len, WriteMethod **write_method,
                                  FcsAnswer<PlatformEntry> *record);

/** The same for the node-name lists. */
int32_t header_fcs_node_name_list_table(const oid *base, size_t base_length, oid *name,
                                        size_t *length, int exact, size_t *var_len,
                                        WriteMethod **write_method,
                                        FcsAnswer<NodeNameEntry> *record);

/** One of the above. */
template <typename Row>
using FcsRowLookup = int32_t(const oid *base, size_t base_length, oid *name, size_t *length,
                             int exact, size_t *var_len, WriteMethod **write_method,
                             FcsAnswer<Row> *record);

/**
 * The live row of a write, into `row`; the write stays with the instance that it names, whatever
 * row the answer is about.
 * \return false when the FCS service has none.
 */
template <typename Row>
bool fcs_find_live_row(FcsRowLookup<Row> *lookup, const FcsRowWrite &write, FcsAnswer<Row> *row) {
  *row = {};
  oid name[MAX_OID_LEN];
  std::copy_n(write.name, write.name_length, name);
  size_t length = write.name_length;
  return lookup(write.name, FCS_COLUMN_LENGTH, name, &length, 1, nullptr, nullptr, row) != -1;
}

template <typename Row> bool fcs_is_live(FcsRowLookup<Row> *lookup, const FcsRowWrite &write) {
  FcsAnswer<Row> row;
  return fcs_find_live_row(lookup, write, &row);
}
