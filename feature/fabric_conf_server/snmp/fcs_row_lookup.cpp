#include "fcs_row_lookup.h"

#include "fcs_exchange.h"
#include "fcs_values.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "platform/role.h"

#include <algorithm>
#include <cstring>

static uint32_t first_word(const void *record) {
  uint32_t word = 0;
  memcpy(&word, record, sizeof(word));
  return word;
}

/** Stores a word and the octets behind it, one from each sub-identifier. */
static void store_index(void *record, const oid *index, size_t name_octets) {
  const auto word = static_cast<uint32_t>(index[0]);
  memcpy(record, &word, sizeof(word));
  uint8_t *octets = static_cast<uint8_t *>(record) + sizeof(word);
  std::transform(index + 1, index + 1 + name_octets, octets,
                 [](oid sub_identifier) { return static_cast<uint8_t>(sub_identifier); });
}

bool fcs_read_index(const FcsIndexForm &form, const variable *vp, const oid *name, size_t length,
                    int exact, void *record) {
  const size_t index_length = 1 + form.name_octets;
  if (exact != 0) {
    if (length > vp->namelen + index_length || length < index_length) {
      return false;
    }
    store_index(record, name + length - index_length, form.name_octets);
    return true;
  }
  const bool within_column =
      length > vp->namelen && snmp_oid_compare(name, vp->namelen, vp->name, vp->namelen) == 0;
  if (within_column) {
    store_index(record, name + vp->namelen, std::min(length - vp->namelen - 1, form.next_octets));
  }
  return true;
}

void fcs_write_index(const FcsIndexForm &form, const variable *vp, const void *record, oid *name,
                     size_t *length, size_t *var_len, WriteMethod **write_method) {
  memcpy(name, vp->name, vp->namelen * sizeof(oid));
  oid *index = name + vp->namelen;
  index[0] = first_word(record);
  std::copy_n(static_cast<const uint8_t *>(record) + sizeof(uint32_t), form.name_octets, index + 1);
  *length = vp->namelen + 1 + form.name_octets;
  *var_len = sizeof(uint32_t);
  *write_method = nullptr;
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
  memcpy(table.record, &vsan, sizeof(vsan));
  memmove(table.key, table.record, table.key_length);
  return true;
}

bool fcs_fetch_visible_row(const FcsVsanTable &table, const oid *name, size_t length, int exact) {
  const FcsOperation operation = exact != 0 ? FCS_OP_GET : FCS_OP_GETNEXT;
  VsanBitmap allowed;
  fcs_bitmap_init(&allowed, FCS_WHOLE_BYTES);
  if (role_allowed_vsans(&allowed, name, length, ROLE_ACCESS_READ) == 0) {
    return ask(table, operation);
  }
  if (exact != 0) {
    return role_vsan_allowed(first_word(table.key), allowed) != 0 && ask(table, operation);
  }
  while (ask(table, operation)) {
    if (role_vsan_allowed(first_word(table.record), allowed) != 0) {
      return true;
    }
    if (!skip_hidden_vsans(table, allowed)) {
      return false;
    }
  }
  return false;
}
