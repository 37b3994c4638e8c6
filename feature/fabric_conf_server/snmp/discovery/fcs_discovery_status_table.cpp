// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_mib.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "frame/fcs_row_lookup.h"
#include "frame/fcs_trace.h"

#include <sys/time.h>

namespace {

FcsAnswer<fcs_disc_status_record> discovery;
/** fcsDiscoveryCompletedTime of the last answer. */
uint32_t completed_time;

constexpr FcsNameIndex kIndex = {.name_octets = 0, .next_octets = 0};
constexpr FcsVsanTable kTable = {.record_id = FCS_REC_DISCOVERY_STATUS,
                                 .key = &discovery.record.vsan,
                                 .key_length = sizeof(discovery.record.vsan),
                                 .record = &discovery,
                                 .on_restriction = nullptr};

bool header_fcs_disc_status_table(const FcsRowRequest &request) {
  FCS_DETAIL("%s:entering\n");
  discovery.record.vsan = 0;
  FCS_DETAIL_REQUEST(request);
  if (!fcs_read_index(kIndex, request, &discovery)) {
    return false;
  }
  FCS_DETAIL_VALUES("%s:vsan index %d\n", static_cast<int32_t>(discovery.record.vsan));
  if (!fcs_fetch_visible_row(kTable, request)) {
    return false;
  }
  fcs_write_index(kIndex, request, &discovery);
  FCS_DETAIL("%s:end\n");
  return true;
}

/** A time of day in microseconds, also when its own are not those of a second. */
int64_t microseconds(const timeval &time) {
  return int64_t{time.tv_sec} * 1'000'000 + time.tv_usec;
}

/** The agent's uptime at the completion, in hundredths of a second; 0 when there was none since. */
uint32_t uptime_at_completion(const fcs_disc_status_record &record) {
  if (record.completed_seconds == 0 && record.completed_microseconds == 0) {
    return 0;
  }
  timeval completed = {record.completed_seconds, record.completed_microseconds};
  const auto *started = static_cast<const timeval *>(netsnmp_get_agent_starttime());
  // What lies before the start cannot be told by the sign of the difference: where a long has 32
  // bits, eight months of hundredths do not fit.
  if (microseconds(completed) < microseconds(*started)) {
    return 0;
  }
  return static_cast<uint32_t>(netsnmp_timeval_uptime(&completed));
}

} // namespace

u_char *var_fcsDiscoveryStatusTable(variable *vp, oid *name, size_t *length, int exact,
                                    size_t *var_len, WriteMethod **write_method) {
  FCS_DETAIL("%s:entering\n");
  if (!header_fcs_disc_status_table(
          fcs_row_request(vp, name, length, exact, var_len, write_method)) ||
      discovery.record.vsan == FCS_END_OF_TABLE) {
    return nullptr;
  }
  switch (vp->magic) {
  case fcsDiscoveryStatus:
    FCS_DETAIL("%s:return Discstatus\n");
    return reinterpret_cast<u_char *>(&discovery.record.status);
  case fcsDiscoveryCompletedTime:
    completed_time = uptime_at_completion(discovery.record);
    FCS_DETAIL("%s:return Disccomptime\n");
    return reinterpret_cast<u_char *>(&completed_time);
  default: snmp_set_detail(""); return nullptr;
  }
}
