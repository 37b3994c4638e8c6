// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_row_lookup.h"

#include "fcs_exchange.h"
#include "fcs_values.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "platform/role.h"

#include <algorithm>
#include <cstring>

static uint32_t word_at(const void *record, size_t offset) {
  uint32_t word = 0;
  memcpy(&word, static_cast<const uint8_t *>(record) + offset, sizeof(word));
  return word;
}

static void store_word(void *record, size_t offset, oid sub_identifier) {
  const auto word = static_cast<uint32_t>(sub_identifier);
  memcpy(static_cast<uint8_t *>(record) + offset, &word, sizeof(word));
}

static uint32_t first_word(const void *record) {
  return word_at(record, 0);
}

FcsRowRequest fcs_row_request(const variable *vp, oid *name, size_t *length, int exact,
                              size_t *var_len, WriteMethod **write_method) {
  return {vp->name, vp->namelen, name, length, exact, var_len, write_method};
}

// ---- Indexes

/** How many sub-identifiers a GETNEXT request has behind the column; 0 when it lies outside. */
static size_t sub_identifiers_within_column(const FcsRowRequest &request) {
  const bool within =
      *request.length > request.base_length &&
      snmp_oid_compare(request.name, request.base_length, request.base, request.base_length) == 0;
  return within ? *request.length - request.base_length : 0;
}

/** Stores a word and the octets behind it, one from each sub-identifier. */
static void store_name_index(void *record, const oid *index, size_t name_octets) {
  store_word(record, 0, index[0]);
  uint8_t *octets = static_cast<uint8_t *>(record) + sizeof(uint32_t);
  std::transform(index + 1, index + 1 + name_octets, octets,
                 [](oid sub_identifier) { return static_cast<uint8_t>(sub_identifier); });
}

bool fcs_read_index(const FcsNameIndex &form, const FcsRowRequest &request, void *record) {
  const size_t index_length = 1 + form.name_octets;
  if (request.exact != 0) {
    const size_t length = *request.length;
    if (length > request.base_length + index_length || length < index_length) {
      return false;
    }
    store_name_index(record, request.name + length - index_length, form.name_octets);
    return true;
  }
  if (const size_t given = sub_identifiers_within_column(request); given > 0) {
    store_name_index(record, request.name + request.base_length,
                     std::min(given - 1, form.next_octets));
  }
  return true;
}

bool fcs_read_pair_index(const FcsRowRequest &request, void *record) {
  constexpr size_t kFirst = FCS_COLUMN_LENGTH;
  constexpr size_t kSecond = kFirst + 1;
  if (request.exact != 0) {
    const size_t length = *request.length;
    if (length > request.base_length + 2) {
      return false;
    }
    store_word(record, 0, length > kFirst ? request.name[kFirst] : 0);
    store_word(record, sizeof(uint32_t), length > kSecond ? request.name[kSecond] : 0);
    return true;
  }
  const size_t given = sub_identifiers_within_column(request);
  for (size_t i = 0; i < std::min<size_t>(given, 2); ++i) {
    store_word(record, i * sizeof(uint32_t), request.name[request.base_length + i]);
  }
  return true;
}

/** Answers with the column followed by a word and what `write_rest` adds behind it. */
template <typename WriteRest>
static void write_instance(const FcsRowRequest &request, const void *record, size_t rest_length,
                           WriteRest write_rest) {
  memmove(request.name, request.base, request.base_length * sizeof(oid));
  oid *index = request.name + request.base_length;
  index[0] = first_word(record);
  write_rest(index + 1);
  *request.length = request.base_length + 1 + rest_length;
  if (request.write_method != nullptr) {
    *request.write_method = nullptr;
  }
  if (request.var_len != nullptr) {
    *request.var_len = sizeof(uint32_t);
  }
}

void fcs_write_index(const FcsNameIndex &form, const FcsRowRequest &request, const void *record) {
  const uint8_t *octets = static_cast<const uint8_t *>(record) + sizeof(uint32_t);
  write_instance(request, record, form.name_octets,
                 [&](oid *name) { std::copy_n(octets, form.name_octets, name); });
}

void fcs_write_pair_index(const FcsRowRequest &request, const void *record) {
  write_instance(request, record, 1,
                 [&](oid *second) { *second = word_at(record, sizeof(uint32_t)); });
}

// ---- Rows

static FcsOperation operation_of(const FcsRowRequest &request) {
  return request.exact != 0 ? FCS_OP_GET : FCS_OP_GETNEXT;
}

static bool ask(const FcsVsanTable &table, FcsOperation operation) {
  fcs_get_data(table.record_id, operation, table.key, table.key_length, table.record);
  return fcs_req_status == 0;
}

/** Sets the key to the start of the next allowed VSAN behind the one in the record. */
static bool skip_hidden_vsans(const FcsVsanTable &table, const VsanBitmap &allowed) {
  uint32_t vsan = first_word(table.record);
  if (role_next_allowed_vsan(&vsan, allowed) == 0) {
    return false;
  }
  if (table.key_length == sizeof(vsan)) {
    --vsan; // The VSAN is the whole key: the row that follows its predecessor is its own.
  }
  memset(table.record, 0, table.key_length);
  store_word(table.record, 0, vsan);
  memmove(table.key, table.record, table.key_length);
  return true;
}

bool fcs_fetch_visible_row(const FcsVsanTable &table, const FcsRowRequest &request) {
  memmove(table.key, table.record, table.key_length);
  VsanBitmap allowed;
  fcs_bitmap_init(&allowed, VSAN_WHOLE_BYTES);
  const int restricted =
      role_allowed_vsans(&allowed, request.name, *request.length, ROLE_ACCESS_READ);
  if (restricted == 0) {
    return ask(table, operation_of(request));
  }
  const uint32_t vsan = first_word(table.key);
  if (table.on_restriction != nullptr) {
    table.on_restriction(restricted, role_vsan_allowed(vsan, allowed));
  }
  if (request.exact != 0) {
    return role_vsan_allowed(vsan, allowed) != 0 && ask(table, FCS_OP_GET);
  }
  while (ask(table, FCS_OP_GETNEXT)) {
    if (role_vsan_allowed(first_word(table.record), allowed) != 0) {
      return true;
    }
    if (!skip_hidden_vsans(table, allowed)) {
      return false;
    }
  }
  return false;
}

bool fcs_fetch_row(uint32_t record_id, const FcsRowRequest &request, void *record,
                   uint32_t key_length) {
  fcs_get_data(record_id, operation_of(request), record, key_length, record);
  return fcs_req_status == 0;
}
