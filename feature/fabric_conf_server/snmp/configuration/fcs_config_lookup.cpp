// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_config_lookup.h"

#include <cstring>

namespace {

PlatformKey platform_key;

constexpr FcsNameIndex kNodeNameIndex = {.name_octets = FCS_WWN_LENGTH,
                                         .next_octets = sizeof(NodeNameEntry) - sizeof(uint32_t)};

/** No row, where a row's first index word is expected. */
constexpr int32_t kNoRow = -1;

} // namespace

int32_t header_fcs_mgmt_addr_table(const oid *base, size_t base_length, oid *name, size_t *length,
                                   int exact, size_t *var_len, WriteMethod **write_method,
                                   FcsAnswer<MgmtAddrEntry> *record) {
  FCS_DETAIL("%s:entering\n");
  memset(record, 0, offsetof(MgmtAddrEntry, address_length));
  const FcsRowRequest request = {base, base_length, name, length, exact, var_len, write_method};
  FCS_DETAIL_REQUEST(request);
  if (!fcs_read_pair_index(request, record) ||
      !fcs_fetch_row(FCS_REC_MGMT_ADDR, request, record, sizeof(MgmtAddrEntry))) {
    return kNoRow;
  }
  fcs_write_pair_index(request, record);
  return record->record.list_index;
}

int32_t header_fcs_platform_table(const oid *base, size_t base_length, oid *name, size_t *length,
                                  int exact, size_t *var_len, WriteMethod **write_method,
                                  FcsAnswer<PlatformEntry> *record) {
  FCS_DETAIL("%s:entering\n");
  memset(record, 0, sizeof(platform_key));
  const FcsRowRequest request = {base, base_length, name, length, exact, var_len, write_method};
  FCS_DETAIL_REQUEST(request);
  if (!fcs_read_pair_index(request, record)) {
    return kNoRow;
  }
  FCS_DETAIL_VALUES("%s:vsan index %d, platform index %d\n", record->record.vsan,
                    record->record.platform_index);
  const FcsVsanTable table = {.record_id = FCS_REC_PLATFORM,
                              .key = &platform_key,
                              .key_length = sizeof(platform_key),
                              .record = record,
                              .on_restriction = nullptr};
  if (!fcs_fetch_visible_row(table, request)) {
    return kNoRow;
  }
  fcs_write_pair_index(request, record);
  FCS_DETAIL("%s:end\n");
  return record->record.vsan;
}

int32_t header_fcs_node_name_list_table(const oid *base, size_t base_length, oid *name,
                                        size_t *length, int exact, size_t *var_len,
                                        WriteMethod **write_method,
                                        FcsAnswer<NodeNameEntry> *record) {
  FCS_DETAIL("%s:entering\n");
  memset(record, 0, offsetof(NodeNameEntry, config_source));
  const FcsRowRequest request = {base, base_length, name, length, exact, var_len, write_method};
  FCS_DETAIL_REQUEST(request);
  if (!fcs_read_index(kNodeNameIndex, request, record)) {
    return kNoRow;
  }
  FCS_DETAIL_VALUES("%s:node name index %d\n", record->record.list_index);
  if (!fcs_fetch_row(FCS_REC_NODE_NAME, request, record, sizeof(NodeNameEntry))) {
    return kNoRow;
  }
  fcs_write_index(kNodeNameIndex, request, record);
  FCS_DETAIL("%s:end\n");
  return record->record.list_index;
}
