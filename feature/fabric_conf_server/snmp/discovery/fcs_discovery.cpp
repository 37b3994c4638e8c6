// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_discovery.h"

#include "fcs_vsan_half.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "frame/fcs_trace.h"

bool fcs_discovery_status_of(uint32_t vsan, int32_t *status) {
  static FcsAnswer<fcs_disc_status_record> answer;
  fcs_get_data(FCS_REC_DISCOVERY_STATUS, FCS_OP_GET, &vsan, sizeof(vsan), &answer);
  *status = answer.record.status;
  return fcs_req_status == 0;
}

int32_t fcs_send_message(uint32_t opcode, uint32_t flag, const void *payload, uint32_t length) {
  return ipc_req_resp(opcode, flag, payload, nullptr, &length, agent_session_user(0),
                      agent_session_id(0), FCS_SERVICE_ID, ipc_response_queue, 0);
}

int32_t fcs_start_discovery_on_vsan(uint32_t vsan) {
  const FcsStartDiscovery start = {vsan, 0};
  return fcs_send_message(FCS_MSG_START_DISCOVERY, 0, &start, sizeof(start));
}

int32_t fcs_invalidate_cache_on_vsan(uint32_t vsan) {
  constexpr int32_t kRefusedInProgress = 2;
  int32_t status = 0;
  if (!fcs_discovery_status_of(vsan, &status)) {
    return fcs_req_status;
  }
  if (status == FCS_DISCOVERY_IN_PROGRESS) {
    return kRefusedInProgress;
  }
  return fcs_send_message(FCS_MSG_INVALIDATE_CACHE, FCS_OP_SET, &vsan, sizeof(vsan));
}

/** \return false when the service did not answer; VSANs that were not reached stay outstanding. */
static bool reset_outstanding(const VsanHalf &half) {
  for (int32_t bit = bitmap_first_bit(half.outstanding); bit >= 0;
       bit = bitmap_next_bit(half.outstanding, bit)) {
    int32_t status = 0;
    if (!fcs_discovery_status_of(half.first_vsan + static_cast<uint32_t>(bit), &status)) {
      return false;
    }
    if (status == FCS_DISCOVERY_LOCAL_ONLY) {
      bitmap_clear_bit(half.outstanding, bit);
    }
  }
  return true;
}

void fcs_reset_disc_bitmap2k() {
  FCS_DETAIL("%s:enter\n");
  if (reset_outstanding(kHalf2k)) {
    FCS_DETAIL("%s:exit\n");
  }
}

void fcs_reset_disc_bitmap4k() {
  FCS_DETAIL("%s:enter\n");
  if (reset_outstanding(kHalf4k)) {
    FCS_DETAIL("%s:exit\n");
  }
}
