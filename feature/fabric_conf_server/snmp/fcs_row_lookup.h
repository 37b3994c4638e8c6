/**
 * Locating a row: the index that a request OID holds, the row that the FCS service has for it, and
 * the answer's OID. The service does all ordering; nothing here computes a successor.
 *
 * A table whose index is a word and a fixed-length name has one sub-identifier for the word and one
 * for each octet of the name. Its records begin with the same word and name.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

/** The index of a table: a word, then `name_octets` octets of a name (none: the word alone). */
struct FcsIndexForm {
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
bool fcs_read_index(const FcsIndexForm &form, const variable *vp, const oid *name, size_t length,
                    int exact, void *record);

/**
 * Answers with the row in `record`: writes its instance OID over the request's, a value length of
 * 4, and no write handler.
 */
void fcs_write_index(const FcsIndexForm &form, const variable *vp, const void *record, oid *name,
                     size_t *length, size_t *var_len, WriteMethod **write_method);

/** A table of the FCS service that is scoped by VSAN; key and record begin with the VSAN word. */
struct FcsVsanTable {
  uint32_t record_id;
  void *key; ///< What the service is asked with; may be the record itself.
  uint32_t key_length;
  void *record; ///< An FcsAnswer.
};

/**
 * Fetches the row with the key in `table.key` (exact) or the one that follows it, past the VSANs
 * that the requesting user's role may not read. The row lands in `table.record`. \return false when
 * there is none that the user may see, or the exchange failed.
 */
bool fcs_fetch_visible_row(const FcsVsanTable &table, const oid *name, size_t length, int exact);
