// SPDX-License-Identifier: BSD-3-Clause
/** Management addresses: creating and deleting rows. */
#include "fcs_config_lookup.h"
#include "fcs_mib.h"
#include "fcs_pending_rows.h"

namespace {

void trace_failure(int32_t /*status*/, int32_t result) {
  FCS_EVENT("Setting of mgmt addr fails witherror : %s\n", fcs_exchange_error_text(result));
}

constexpr FcsAssembledTable<MgmtAddrEntry> kTable = {
    .record_id = FCS_REC_MGMT_ADDR,
    .store = &temp_mgmt_addr_table,
    .lookup = header_fcs_mgmt_addr_table,
    .length = &MgmtAddrEntry::address_length,
    .octets = &MgmtAddrEntry::address,
    .text = {.limits = {"fcsMgmtAddr", ASN_OCTET_STR, 255, "%s:wrong type\n", "%s:bad length\n"},
             .refuse = nullptr,
             .set_defaults = nullptr,
             .live = "%s:inconsistent val\n",
             .not_pending = FcsLine("%s:ptr null\n"),
             .no_status = "%s:row st 0\n",
             .reserved = "%s:exit rev2\n"},
    // A bad length of the RowStatus is deliberately traced before it is written, unlike all others.
    .status = {.limits = {.value = {.object = "fcsMgmtAddrRowStatus",
                                    .type = ASN_INTEGER,
                                    .max_length = 4,
                                    .wrong_type = "%s:wrong type\n",
                                    .bad_length = "%s:wrong length\n",
                                    .length_traced_first = true},
                          .unknown = "%s:inconsis val\n",
                          .taken = "%s:inval val\n",
                          .taken_on_stderr = true},
               .authorize = nullptr,
               .live = "%s:inconsis val\n",
               .reserved = "%s:exit rev2\n",
               .not_acted_on = "%s:inconsistent val\n",
               .trace_failure = trace_failure},
};

} // namespace

int mgmt_addr_cmp(const void *a, const void *b) {
  return fcs_compare_row_keys(a, b);
}

int write_fcsMgmtAddr(int action, u_char *value, u_char type, size_t length, u_char *current,
                      oid *name, size_t name_length) {
  return fcs_write_text(kTable,
                        {__func__, action, value, type, length, current, name, name_length});
}

int write_fcsMgmtAddrRowStatus(int action, u_char *value, u_char type, size_t length,
                               u_char *current, oid *name, size_t name_length) {
  return fcs_write_status(kTable,
                          {__func__, action, value, type, length, current, name, name_length});
}
