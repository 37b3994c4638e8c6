// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_mib.h"
#include "fcs_vsan_half.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "frame/fcs_trace.h"
#include "frame/fcs_write.h"
#include "platform/role.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include <net-snmp/agent/util_funcs/header_generic.h>

namespace {

constexpr FcsWritable kWritable[] = {
    {fcsVsanDiscoverySpinLock, write_fcsVsanDiscoverySpinLock},
    {fcsVsanDiscoveryName, write_fcsVsanDiscoveryName},
    {fcsVsanDiscoveryList2k, write_fcsVsanDiscoveryList2k},
    {fcsVsanDiscoveryList4k, write_fcsVsanDiscoveryList4k},
    {fcsStartDiscovery, write_fcsStartDiscovery},
    {fcsVsanDiscoveryTimeOut, write_fcsVsanDiscoveryTimeOut},
    {fcsDiscoveryInvalidateCache2k, write_fcsDiscoveryInvalidateCache2k},
    {fcsDiscoveryInvalidateCache4k, write_fcsDiscoveryInvalidateCache4k},
    {fcsReqRejNotifyEnable, write_fcsReqRejNotifyEnable},
    {fcsDiscoveryCompleteNotifyEnable, write_fcsDiscoveryCompleteNotifyEnable},
};

/** A count that the service keeps, and what its reads leave in the trace. */
struct Count {
  FcsObject object;
  FcsRecordId record_id;
  FcsLine answered;
  FcsLine failed;
};

constexpr Count kCounts[] = {
    {fcsIeNumber, FCS_REC_IE_COUNT, "%s:return ie number\n", "%s:return NULL ie number\n"},
    {fcsPortNumber, FCS_REC_PORT_COUNT, "%s:return port number\n", "%s:return NULL port number\n"},
    {fcsPlatformNumber, FCS_REC_PLATFORM_COUNT, "%s:return platform number\n",
     "%s:return NULL platform number\n"},
};

/** The list of the last cache invalidation, and what its reads leave in the trace. */
struct Invalidation {
  const VsanHalf &half;
  FcsLine answered;
  FcsLine failed;
};

constexpr Invalidation kInvalidation2k = {kHalf2k, "%s:return DiscInvalDate2k succ\n",
                                          "%s:return DiscInvalDate2k error\n"};
constexpr Invalidation kInvalidation4k = {kHalf4k, "%s:return DiscInvalDate4k succ\n",
                                          "%s:return DiscInvalDate4k error\n"};

/** The VSAN discovery lists are put together here. */
VsanBitmap fcs_vsan_list_buf;

/** What a list reads as when the role filter fails: four zero octets, deliberately not an error. */
uint8_t no_vsans[4];

u_char *return_value() {
  return reinterpret_cast<u_char *>(&fcs_return_value.record);
}

u_char *integer(int32_t value) {
  fcs_return_value.record = value;
  return return_value();
}

/** Has the service answer a keyless request into the return value. */
bool fetch_word(FcsRecordId record_id) {
  fcs_get_data(record_id, FCS_OP_GET, nullptr, 0, &fcs_return_value);
  return fcs_req_status == 0;
}

const Count &count_of(u_char magic) {
  return *std::find_if(std::begin(kCounts), std::end(kCounts),
                       [magic](const Count &count) { return count.object == magic; });
}

/** A TruthValue: only an enable state of exactly 1 is true. */
u_char *truth(int32_t enabled) {
  return integer(enabled == 1 ? 1 : 2);
}

/**
 * Takes the VSANs that the user may not read out of `list`, one half of the VSANs.
 * \return false when the role service failed; `list` is then unchanged.
 */
bool filter_list(VsanBitmap *list, const VsanHalf &half, const oid *name, size_t length) {
  VsanBitmap by_position;
  VsanBitmap by_id;
  fcs_bitmap_init(&by_position, VSAN_WHOLE_BYTES);
  fcs_bitmap_init(&by_id, VSAN_WHOLE_BYTES);
  memcpy(by_position.bytes + half.offset, list->bytes, VSAN_HALF_BYTES);
  fcs_vsan_shift_up(&by_position, &by_id);

  VsanBitmap readable;
  fcs_bitmap_init(&readable, VSAN_WHOLE_BYTES);
  if (role_allowed_vsans_from_list(&by_id, &readable, name, length, ROLE_ACCESS_READ) != 0) {
    return false;
  }
  bitmap_clear(&by_position);
  fcs_vsan_shift_down(&readable, &by_position);
  memcpy(list->bytes, by_position.bytes + half.offset, VSAN_HALF_BYTES);
  return true;
}

/** The VSANs that are staged for a discovery and those on which one is outstanding. */
VsanBitmap *discovery_list(const VsanHalf &half) {
  fcs_bitmap_init(&fcs_vsan_list_buf, VSAN_HALF_BYTES);
  bitmap_copy(&fcs_vsan_list_buf, half.staged);
  bitmap_union(&fcs_vsan_list_buf, half.outstanding);
  return &fcs_vsan_list_buf;
}

u_char *image(VsanBitmap *list, size_t *var_len) {
  *var_len = fcs_trim_trailing_blanks(list);
  return list->bytes;
}

} // namespace

u_char *var_zephrinFcsMIB(variable *vp, oid *name, size_t *length, int exact, size_t *var_len,
                          WriteMethod **write_method) {
  FCS_DETAIL("%s:entering\n");
  if (header_generic(vp, name, length, exact, var_len, write_method) == MATCH_FAILED) {
    FCS_DETAIL("%s:return NULL\n");
    return nullptr;
  }
  *var_len = sizeof(int32_t);
  fcs_hand_out_write_method(kWritable, vp->magic, write_method);

  switch (vp->magic) {
  case fcsVsanDiscoverySpinLock:
    FCS_DETAIL("%s:return DiscSpinLock\n");
    return integer(fcs_spin_lock);

  case fcsVsanDiscoveryName:
    *var_len = strlen(fcs_discovery_name);
    FCS_DETAIL("%s:return DiscName\n");
    return reinterpret_cast<u_char *>(fcs_discovery_name);

  case fcsVsanDiscoveryList2k: {
    VsanBitmap *list = discovery_list(kHalf2k);
    if (!filter_list(list, kHalf2k, name, *length)) {
      FCS_EVENT("get_allowed_vsans.. ret error\n");
      return no_vsans;
    }
    FCS_EVENT("get_allowed_vsans ... ret success\n");
    return image(list, var_len);
  }

  case fcsVsanDiscoveryList4k: {
    VsanBitmap *list = discovery_list(kHalf4k);
    if (!filter_list(list, kHalf4k, name, *length)) {
      FCS_DETAIL("%s:return DiscList4k error\n");
      return no_vsans;
    }
    FCS_DETAIL("%s:return DiscList4k Success\n");
    return image(list, var_len);
  }

  case fcsStartDiscovery:
    FCS_DETAIL("%s:return Disc\n");
    return integer(2); // Always "do nothing", whatever was written last.

  case fcsVsanDiscoveryTimeOut:
    FCS_DETAIL("%s:return DiscTimeout\n");
    return integer(fcs_discovery_timeout);

  // A read narrows the stored invalidation list to what the reader may see, for every later reader.
  case fcsDiscoveryInvalidateCache2k:
  case fcsDiscoveryInvalidateCache4k: {
    const Invalidation &last =
        vp->magic == fcsDiscoveryInvalidateCache2k ? kInvalidation2k : kInvalidation4k;
    if (!filter_list(last.half.invalidated, last.half, name, *length)) {
      FCS_DETAIL_LINE(__func__, last.failed);
      return no_vsans;
    }
    FCS_DETAIL_LINE(__func__, last.answered);
    return image(last.half.invalidated, var_len);
  }

  case fcsIeNumber:
  case fcsPortNumber:
  case fcsPlatformNumber: {
    const Count &count = count_of(vp->magic);
    if (!fetch_word(count.record_id)) {
      FCS_DETAIL_LINE(__func__, count.failed);
      return nullptr;
    }
    FCS_DETAIL_LINE(__func__, count.answered);
    return return_value();
  }

  case fcsReqRejNotifyEnable: {
    const int32_t enabled = agent_notif_enable_get(FCS_MSG_REG_REQ_REJ);
    FCS_DETAIL_VALUES("%s:ret_code Rejnotif enable: 0x%x\n", static_cast<uint32_t>(enabled));
    FCS_DETAIL("%s:return Rejnotif number\n");
    return truth(enabled);
  }

  case fcsDiscoveryCompleteNotifyEnable: {
    const int32_t enabled = agent_notif_enable_get(FCS_MSG_DISC_COMPLETE);
    FCS_DETAIL_VALUES("%s:ret_code ComplteNotify enable: 0x%x\n", static_cast<uint32_t>(enabled));
    FCS_DETAIL("%s:return Comnoti number\n");
    return truth(enabled);
  }

  case fcsTotalRejects:
    // Deliberately untested: after a failed exchange the last integer answered is repeated.
    fetch_word(FCS_REC_TOTAL_REJECTS);
    FCS_DETAIL("%s:return Total rejects\n");
    return return_value();

  case fcsRejReasonCode: FCS_DETAIL("%s:return reasoncode\n"); return integer(fcs_rej_reason_code);

  case fcsRejReasonCodeExpl:
    FCS_DETAIL("%s:return reasoncode exp\n");
    return integer(fcs_rej_reason_code_expl);

  default: snmp_set_detail(""); return nullptr;
  }
}
