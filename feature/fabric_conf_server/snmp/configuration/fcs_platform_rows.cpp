// SPDX-License-Identifier: BSD-3-Clause
/** Platforms: creating and deleting rows. */
#include "fcs_config_lookup.h"
#include "fcs_mib.h"
#include "fcs_pending_rows.h"
#include "frame/fcs_values.h"
#include "platform/role.h"

namespace {

/** Blanks anywhere in a name are refused. */
int refuse_blanks(const FcsRowWrite &write) {
  if (memchr(write.value, ' ', write.length) == nullptr) {
    return SNMP_ERR_NOERROR;
  }
  FCS_DETAIL_AS(write.handler, "%s:wrong val\n");
  return SNMP_ERR_WRONGVALUE;
}

/** Refuses a VSAN that the user's role may not write. */
int authorize(const FcsRowWrite &write) {
  VsanBitmap allowed;
  fcs_bitmap_init(&allowed, VSAN_WHOLE_BYTES);
  const auto vsan = static_cast<uint32_t>(fcs_row_key(write).words[0]);
  if (role_allowed_vsans(&allowed, write.name, write.name_length, ROLE_ACCESS_WRITE) == 0 ||
      role_vsan_allowed(vsan, allowed) != 0) {
    return SNMP_ERR_NOERROR;
  }
  agent_log_role_error(AGENT_VSAN_NOT_ALLOWED);
  FCS_DETAIL_AS(write.handler, "%s:role vsan not allowed\n");
  return SNMP_ERR_GENERR;
}

void trace_failure(int32_t status, int32_t result) {
  FCS_EVENT("%s of platform fails with error %s\n", fcs_row_status_verb(status),
            fcs_exchange_error_text(result));
}

// Only a row whose name comes first has the defaults; its status deliberately creates one of zeros.
constexpr FcsAssembledTable<PlatformEntry> kTable = {
    .record_id = FCS_REC_PLATFORM,
    .store = &temp_platform_table,
    .lookup = header_fcs_platform_table,
    .length = &PlatformEntry::name_length,
    .octets = &PlatformEntry::name,
    .text = {.limits = {.object = "fcsPlatformName",
                        .type = ASN_OCTET_STR,
                        .max_length = 255,
                        .wrong_type = "%s:wrong type\n",
                        .bad_length = "%s:wrong length\n",
                        .min_length = 1},
             .refuse = refuse_blanks,
             .set_defaults = set_platform_defaults,
             .live = "%s:inconsistent\n",
             .not_pending = std::nullopt,
             .no_status = "%s:row stat is zero\n",
             .reserved =
                 "%s:exit rev1\n"}, // Log scanners know it by this text, and that of the status.
    .status = {.limits = {.value = {"fcsPlatformRowStatus", ASN_INTEGER, 4, "%s:wr type\n",
                                    "%s:wr len\n"},
                          .unknown = "%s:inconsistent\n",
                          .taken = "%s: inconsistent 2\n",
                          .taken_on_stderr = true},
               .authorize = authorize,
               .live = "%s:inconsis\n",
               .reserved = "%s:exit rev1\n",
               .not_acted_on = "%s:inconsis\n",
               .trace_failure = trace_failure},
};

} // namespace

int platform_cmp(const void *a, const void *b) {
  return fcs_compare_row_keys(a, b);
}

void set_platform_defaults(PlatformEntry *row) {
  row->type = 1; // Unknown.
  row->node_name_list_index = 0;
  row->mgmt_addr_list_index = 0;
  row->config_source = 1;
  row->validation_result = 1; // Not validated.
  row->validation_request = 0;
}

int write_fcsPlatformName(int action, u_char *value, u_char type, size_t length, u_char *current,
                          oid *name, size_t name_length) {
  return fcs_write_text(kTable,
                        {__func__, action, value, type, length, current, name, name_length});
}

int write_fcsPlatformRowStatus(int action, u_char *value, u_char type, size_t length,
                               u_char *current, oid *name, size_t name_length) {
  return fcs_write_status(kTable,
                          {__func__, action, value, type, length, current, name, name_length});
}
