// SPDX-License-Identifier: BSD-3-Clause
/**
 * Locating a row: the index that a request OID holds, the row that the FCS service has for it, and
 * the answer's OID. The service does all ordering; nothing here computes a successor.
 *
 * There are two forms of index, and records begin with theirs:
 *  - a word and a name: one sub-identifier for the word and one for each octet of the name (a word
 *    alone is a word and a name of no octets);
 *  - two words: one sub-identifier each.
 */
#pragma once

#include "fcs_trace.h"

#include <cstddef>
#include <cstdint>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

/** Sub-identifiers of the module root, and of a column; the index of an instance follows. */
constexpr size_t FCS_ROOT_LENGTH = 9;
constexpr size_t FCS_COLUMN_LENGTH = FCS_ROOT_LENGTH + 5;

/** A request for an instance of a column, as the agent hands it to a handler. */
struct FcsRowRequest {
  const oid *base; ///< The column.
  size_t base_length;
  oid *name; ///< The instance asked for; replaced by the answer's.
  size_t *length;
  int exact;                  ///< Nonzero: exactly this instance; 0: the one that follows it.
  size_t *var_len;            ///< Becomes 4 in an answer; may be null.
  WriteMethod **write_method; ///< Becomes null in an answer; may be null.
};

/** Traces a request in the index step of a table, under the step's own name. */
#define FCS_DETAIL_REQUEST(request)                                                                \
  FCS_DETAIL_VALUES("%s:length %d, vp->namelen %d exact %d\n",                                     \
                    static_cast<int>(*(request).length), static_cast<int>((request).base_length),  \
                    (request).exact)

/** The request that a read handler got. */
FcsRowRequest fcs_row_request(const variable *vp, oid *name, size_t *length, int exact,
                              size_t *var_len, WriteMethod **write_method);

/** The index of a table: a word, then `name_octets` octets of a name. */
struct FcsNameIndex {
  size_t name_octets;
  /** Octets behind the word that a GETNEXT request may fill: further sub-identifiers are taken into
   *  the record as far as this, not only as far as the name. */
  size_t next_octets;
};

/**
 * Reads the index of a request into `record`, whose index the caller has cleared.
 *
 * Of an exact request the index is read from the end of the OID, so a short one is deliberately not
 * refused. A GETNEXT request that does not lie within the column leaves the index clear.
 *
 * \return false when an exact request is longer than an instance of the table, or shorter than its
 *         index.
 */
bool fcs_read_index(const FcsNameIndex &form, const FcsRowRequest &request, void *record);

/**
 * Answers with the row in `record`: writes its instance OID over the request's, and sets value
 * length and write handler.
 */
void fcs_write_index(const FcsNameIndex &form, const FcsRowRequest &request, const void *record);

/**
 * fcs_read_index for an index of two words. Of an exact request they are read behind
 * FCS_COLUMN_LENGTH, whatever the column is; what a short OID lacks is deliberately not refused and
 * counts as 0.
 * \return false when an exact request is longer than an instance of the table.
 */
bool fcs_read_pair_index(const FcsRowRequest &request, void *record);

/** fcs_write_index for an index of two words. */
void fcs_write_pair_index(const FcsRowRequest &request, const void *record);

/** A table of the FCS service that is scoped by VSAN; key and record begin with the VSAN word. */
struct FcsVsanTable {
  uint32_t record_id;
  void *key; ///< What the service is asked with; may be the record itself.
  uint32_t key_length;
  void *record; ///< An FcsAnswer.
  /** Told when a restriction applies: the role service's result, and whether the VSAN asked for is
   *  allowed. May be null. */
  void (*on_restriction)(int result, int allowed);
};

/**
 * Fetches the row whose key stands at the beginning of `table.record` (exact) or the one that
 * follows it, past the VSANs that the requesting user's role may not read. The row lands in
 * `table.record`.
 * \return false when there is none that the user may see, or the exchange failed.
 */
bool fcs_fetch_visible_row(const FcsVsanTable &table, const FcsRowRequest &request);

/** Fetches a row of a table that is not scoped by VSAN; `record` is key and answer at once. */
bool fcs_fetch_row(uint32_t record_id, const FcsRowRequest &request, void *record,
                   uint32_t key_length);
