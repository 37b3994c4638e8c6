// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_mib.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "frame/fcs_row_lookup.h"
#include "frame/fcs_trace.h"

#include <cstdio>

namespace {

FcsAnswer<FcsStatsRecord> stats;

constexpr FcsNameIndex kIndex = {.name_octets = 0, .next_octets = 0};
constexpr FcsVsanTable kTable = {.record_id = FCS_REC_STATISTICS,
                                 .key = &stats.record.vsan,
                                 .key_length = sizeof(stats.record.vsan),
                                 .record = &stats};

/** A column's counter, and the trace of its answer. */
struct Column {
  FcsObject object;
  uint32_t FcsStatsRecord::*counter;
  FcsLine answered;
};

constexpr Column kColumns[] = {
    {fcsRxGetReqs, &FcsStatsRecord::rx_get_reqs, "%s:return rx get\n"},
    {fcsTxGetReqs, &FcsStatsRecord::tx_get_reqs, "%s:return tx get\n"},
    {fcsRxRegReqs, &FcsStatsRecord::rx_reg_reqs, "%s:return rx reg\n"},
    {fcsTxRegReqs, &FcsStatsRecord::tx_reg_reqs, "%s:return tx reg\n"},
    {fcsRxDeregReqs, &FcsStatsRecord::rx_dereg_reqs, "%s:return rx dereg\n"},
    {fcsTxDeregReqs, &FcsStatsRecord::tx_dereg_reqs, "%s:return tx dereg\n"},
    {fcsTxRscns, &FcsStatsRecord::tx_rscns, "%s:return tx rscn\n"},
    {fcsRxRscns, &FcsStatsRecord::rx_rscns, "%s:return rx rscn\n"},
    {fcsRejects, &FcsStatsRecord::rejects, "%s:return rej\n"},
};

bool header_fcs_stats_table(const FcsRowRequest &request) {
  stats.record.vsan = 0;
  FCS_DETAIL_REQUEST(request);
  if (!fcs_read_index(kIndex, request, &stats)) {
    return false;
  }
  if (request.exact == 0 && stats.record.vsan > FCS_MAX_VSAN) {
    return false;
  }
  if (!fcs_fetch_visible_row(kTable, request)) {
    return false;
  }
  fprintf(stderr, "index = %d reg req = %d\n", static_cast<int32_t>(stats.record.vsan),
          static_cast<int32_t>(stats.record.rx_reg_reqs));
  fcs_write_index(kIndex, request, &stats);
  FCS_DETAIL("%s:end\n");
  return true;
}

} // namespace

u_char *var_fcsStatsTable(variable *vp, oid *name, size_t *length, int exact, size_t *var_len,
                          WriteMethod **write_method) {
  if (!header_fcs_stats_table(fcs_row_request(vp, name, length, exact, var_len, write_method)) ||
      stats.record.vsan == FCS_END_OF_TABLE) {
    FCS_DETAIL("%s:return NULL\n");
    return nullptr;
  }
  for (const Column &column : kColumns) {
    if (column.object == vp->magic) {
      FCS_DETAIL_LINE(__func__, column.answered);
      return reinterpret_cast<u_char *>(&(stats.record.*column.counter));
    }
  }
  snmp_set_detail("");
  return nullptr;
}
