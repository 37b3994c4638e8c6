// SPDX-License-Identifier: BSD-3-Clause
/**
 * Rows that a manager is creating. A SET assembles one in a pending-row store, whichever of the
 * table's handlers comes first creating it, and the RowStatus column sends it to the FCS service.
 * After a failed ACTION the row deliberately stays, and the next SET of the index finds it.
 */
#pragma once

#include "fcs_config_lookup.h"
#include "fcs_row_status.h"
#include "frame/fcs_trace.h"
#include "frame/fcs_write.h"
#include "platform/row_index.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>

/** Index of a row, with which its record begins: the last two sub-identifiers of an instance. */
struct FcsRowKey {
  int32_t words[2];
};
FcsRowKey fcs_row_key(const FcsRowWrite &write);

/**
 * Orders two keys, first word first. The sign is deliberately the reverse of the usual one:
 * positive when `a` sorts before `b`, as the store wants it.
 */
int fcs_compare_row_keys(const void *a, const void *b);

/** A table whose rows are assembled before they are sent. Lines are the handler's traces. */
template <typename Row> struct FcsAssembledTable {
  FcsRecordId record_id;
  RowIndex **store;
  FcsRowLookup<Row> *lookup;
  /** What a SET has to bring with it, or there is no row. */
  uint8_t Row::*length;
  uint8_t (Row::*octets)[255];

  /** The column that brings it. */
  struct Text {
    FcsWriteLimits limits;
    int (*refuse)(const FcsRowWrite &write); ///< Further checks of the value; null for none.
    void (*set_defaults)(Row *row);          ///< For a row that this column creates; null for none.
    FcsLine live;                            ///< Never changed once the row is there.
    std::optional<FcsLine> not_pending;
    FcsLine no_status; ///< The SET brings no RowStatus.
    FcsLine reserved;
  } text;

  /** The RowStatus column. */
  struct Status {
    FcsRowStatusLimits limits;
    int (*authorize)(const FcsRowWrite &write); ///< Null when the table is not scoped by VSAN.
    FcsLine live;
    FcsLine reserved;
    FcsLine not_acted_on;
    void (*trace_failure)(int32_t status, int32_t result);
  } status;
};

template <typename Row>
Row *fcs_pending_row(const FcsAssembledTable<Row> &table, const FcsRowWrite &write) {
  const FcsRowKey key = fcs_row_key(write);
  return static_cast<Row *>(row_index_find(*table.store, &key, 0));
}

/** The pending row of a write, created if need be; null when that fails. */
template <typename Row>
Row *fcs_find_or_create_pending_row(const FcsAssembledTable<Row> &table, const FcsRowWrite &write,
                                    void (*set_defaults)(Row *)) {
  if (Row *row = fcs_pending_row(table, write); row != nullptr) {
    return row;
  }
  auto *row = static_cast<Row *>(calloc(1, sizeof(Row)));
  if (row == nullptr) {
    return nullptr;
  }
  if (set_defaults != nullptr) {
    set_defaults(row);
  }
  const FcsRowKey key = fcs_row_key(write);
  memcpy(row, &key, sizeof(key));
  // A row that the store does not take is deliberately not released.
  return static_cast<Row *>(row_index_add(*table.store, row, row));
}

template <typename Row>
int fcs_discard_pending_row(const FcsAssembledTable<Row> &table, const FcsRowWrite &write) {
  const FcsRowKey key = fcs_row_key(write);
  free(row_index_remove(*table.store, &key));
  return SNMP_ERR_NOERROR;
}

// ---- The column that a row cannot do without

template <typename Row>
int fcs_reserve_text(const FcsAssembledTable<Row> &table, const FcsRowWrite &write) {
  FCS_DETAIL_AS(write.handler, "%s:enter rev1\n");
  if (const int refusal =
          fcs_check_value(table.text.limits, write.handler, write.type, write.length);
      refusal != SNMP_ERR_NOERROR) {
    return refusal;
  }
  if (table.text.refuse != nullptr) {
    if (const int refusal = table.text.refuse(write); refusal != SNMP_ERR_NOERROR) {
      return refusal;
    }
  }
  Row *row = fcs_find_or_create_pending_row(table, write, table.text.set_defaults);
  if (row == nullptr) {
    return SNMP_ERR_GENERR;
  }
  std::copy_n(write.value, write.length, row->*table.octets);
  row->*table.length = static_cast<uint8_t>(write.length);
  FCS_DETAIL_AS(write.handler, "%s:exit rev1\n");
  return SNMP_ERR_NOERROR;
}

template <typename Row>
int fcs_confirm_text(const FcsAssembledTable<Row> &table, const FcsRowWrite &write) {
  FCS_DETAIL_AS(write.handler, "%s:enter rev2\n");
  if (fcs_is_live(table.lookup, write)) {
    FCS_DETAIL_LINE(write.handler, table.text.live);
    return SNMP_ERR_INCONSISTENTVALUE;
  }
  const Row *row = fcs_pending_row(table, write);
  if (row == nullptr) {
    if (table.text.not_pending) {
      FCS_DETAIL_LINE(write.handler, *table.text.not_pending);
    }
    return SNMP_ERR_GENERR;
  }
  if (row->row_status == 0) {
    FCS_DETAIL_LINE(write.handler, table.text.no_status);
    return SNMP_ERR_INCONSISTENTVALUE;
  }
  FCS_DETAIL_LINE(write.handler, table.text.reserved);
  return SNMP_ERR_NOERROR;
}

template <typename Row>
int fcs_write_text(const FcsAssembledTable<Row> &table, const FcsRowWrite &write) {
  switch (write.action) {
  case RESERVE1: return fcs_reserve_text(table, write);
  case RESERVE2: return fcs_confirm_text(table, write);
  case FREE: return fcs_discard_pending_row(table, write);
  default: return SNMP_ERR_NOERROR;
  }
}

// ---- RowStatus

template <typename Row>
int fcs_reserve_status(const FcsAssembledTable<Row> &table, const FcsRowWrite &write) {
  if (const int refusal = fcs_check_row_status(table.status.limits, write);
      refusal != SNMP_ERR_NOERROR) {
    return refusal;
  }
  if (table.status.authorize != nullptr) {
    if (const int refusal = table.status.authorize(write); refusal != SNMP_ERR_NOERROR) {
      return refusal;
    }
  }
  if (write.integer() != RS_DESTROY) {
    Row *row = fcs_find_or_create_pending_row<Row>(table, write, nullptr);
    if (row == nullptr) {
      return SNMP_ERR_GENERR;
    }
    row->row_status = static_cast<uint32_t>(write.integer());
  }
  FCS_DETAIL_AS(write.handler, "%s:exit rev1\n");
  return SNMP_ERR_NOERROR;
}

template <typename Row>
int fcs_confirm_status(const FcsAssembledTable<Row> &table, const FcsRowWrite &write) {
  const int32_t status = write.integer();
  FCS_DETAIL_AS(write.handler, "%s:enter rev2\n");
  fcs_make_current_status_active(write);
  if (fcs_is_live(table.lookup, write) && status != RS_DESTROY && status != RS_ACTIVE) {
    FCS_DETAIL_LINE(write.handler, table.status.live);
    return SNMP_ERR_INCONSISTENTVALUE;
  }
  if (status != RS_DESTROY) {
    const Row *row = fcs_pending_row(table, write);
    if (row == nullptr) {
      return SNMP_ERR_GENERR;
    }
    if (row->*table.length == 0) {
      FCS_DETAIL_AS(write.handler, "%s:length is zero\n");
      return SNMP_ERR_INCONSISTENTVALUE;
    }
  }
  FCS_DETAIL_LINE(write.handler, table.status.reserved);
  return SNMP_ERR_NOERROR;
}

/** Sends the index of the row that is to go. */
template <typename Row>
int32_t fcs_send_deletion(const FcsAssembledTable<Row> &table, const FcsRowWrite &write) {
  const FcsRowKey key = fcs_row_key(write);
  Row row{};
  memcpy(&row, &key, sizeof(key));
  return fcs_set_data(table.record_id, FCS_OP_DELETE, &row, sizeof(Row));
}

template <typename Row>
int fcs_act_on_status(const FcsAssembledTable<Row> &table, const FcsRowWrite &write) {
  const int32_t status = write.integer();
  FCS_DETAIL_AS(write.handler, "%s:enter action\n");
  if (status != RS_DESTROY && status != RS_CREATEANDGO) {
    FCS_DETAIL_LINE(write.handler, table.status.not_acted_on);
    return SNMP_ERR_INCONSISTENTVALUE;
  }
  if (!fcs_is_live(table.lookup, write) && status == RS_DESTROY) {
    FCS_DETAIL_AS(write.handler, "%s:end\n");
    return SNMP_ERR_NOERROR;
  }
  const Row *pending = fcs_pending_row(table, write);
  if (status == RS_CREATEANDGO && pending == nullptr) {
    return SNMP_ERR_GENERR;
  }
  const int32_t result = status == RS_DESTROY
                             ? fcs_send_deletion(table, write)
                             : fcs_set_data(table.record_id, FCS_OP_SET, pending, sizeof(Row));
  if (result != 0) {
    table.status.trace_failure(status, result);
    fcs_report_set_error(result);
    return SNMP_ERR_GENERR;
  }
  FCS_DETAIL_AS(write.handler, "%s:exit action\n");
  return SNMP_ERR_NOERROR;
}

template <typename Row>
int fcs_write_status(const FcsAssembledTable<Row> &table, const FcsRowWrite &write) {
  switch (write.action) {
  case RESERVE1: return fcs_reserve_status(table, write);
  case RESERVE2: return fcs_confirm_status(table, write);
  case ACTION: return fcs_act_on_status(table, write);
  case COMMIT:
  case FREE: return fcs_discard_pending_row(table, write);
  default: return SNMP_ERR_NOERROR;
  }
}
