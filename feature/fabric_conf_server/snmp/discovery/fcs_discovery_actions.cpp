// SPDX-License-Identifier: BSD-3-Clause
/** The scalars that act: starting a discovery, invalidating the service's cache. Write side. */
#include "fcs_discovery.h"
#include "fcs_vsan_list_write.h"
#include "frame/fcs_trace.h"

#include <cstdio>

namespace {

/** Values of fcsStartDiscovery. */
constexpr int32_t kStart = 1;
constexpr int32_t kDoNothing = 2;

constexpr FcsWriteLimits kStartLimits = {"fcsStartDiscovery", ASN_INTEGER, 4, "%s:wrong type\n",
                                         "%s:bad length\n"};
constexpr VsanListLimits kInvalidate2k = {{"fcsDiscoveryInvalidateCache2k", ASN_OCTET_STR,
                                           VSAN_HALF_BYTES, "%s:wrong type\n", "%s:bad length\n"},
                                          "%s:non writable\n"};
constexpr VsanListLimits kInvalidate4k = {{"fcsDiscoveryInvalidateCache4k", ASN_OCTET_STR,
                                           VSAN_HALF_BYTES, "%s:wrong type\n", "%s:bad length\n"},
                                          "%s:not writable\n"};

/** The value of the SET in progress, kept from RESERVE2 to ACTION; null outside of one. */
const u_char *fcs_start_discovery_pending;

/** Calls `act` for each VSAN of a half's list, in ascending order, with the VSAN. */
template <typename Act> void for_each_vsan(const VsanHalf &half, const VsanBitmap &list, Act act) {
  for (int32_t bit = bitmap_first_bit(&list); bit >= 0; bit = bitmap_next_bit(&list, bit)) {
    act(half.first_vsan + static_cast<uint32_t>(bit));
  }
}

/** The VSANs that are staged and not outstanding yet. */
VsanBitmap to_be_started(const VsanHalf &half) {
  VsanBitmap vsans;
  fcs_bitmap_init(&vsans, VSAN_HALF_BYTES);
  bitmap_copy(&vsans, half.staged);
  bitmap_subtract(&vsans, half.outstanding);
  return vsans;
}

/** Every staged VSAN counts as started, one whose request failed included. */
void count_as_started(const VsanHalf &half) {
  bitmap_union(half.outstanding, half.staged);
  bitmap_clear(half.staged);
}

void start_discovery() {
  for_each_vsan(kHalf2k, to_be_started(kHalf2k), [](uint32_t vsan) {
    if (const int32_t error = fcs_start_discovery_on_vsan(vsan); error != 0) {
      FCS_EVENT("Discovery on VSAN %d fails with err %d\n", static_cast<int32_t>(vsan), error);
    }
  });
  // Deliberately without the error code in its event.
  for_each_vsan(kHalf4k, to_be_started(kHalf4k), [](uint32_t vsan) {
    if (fcs_start_discovery_on_vsan(vsan) != 0) {
      FCS_EVENT("Discovery on VSAN %d fails\n", static_cast<int32_t>(vsan));
    }
  });
  FCS_EVENT("Discovery started successfully\n");
  count_as_started(kHalf2k);
  count_as_started(kHalf4k);
}

int invalidate(const VsanHalf &half, const u_char *value, size_t length) {
  fcs_store_vsan_list(half.invalidated, value, length);
  for_each_vsan(half, *half.invalidated, [](uint32_t vsan) {
    if (fcs_invalidate_cache_on_vsan(vsan) != 0) {
      FCS_EVENT("Invalidate cache on VSAN %d fails\n", static_cast<int32_t>(vsan));
    }
  });
  return SNMP_ERR_NOERROR;
}

} // namespace

int write_fcsStartDiscovery(int action, u_char *value, u_char type, size_t length,
                            u_char * /*current*/, oid * /*name*/, size_t /*name_length*/) {
  switch (action) {
  case RESERVE1: {
    FCS_DETAIL("%s:enter rev1\n");
    if (const int refusal = fcs_check_value(kStartLimits, __func__, type, length);
        refusal != SNMP_ERR_NOERROR) {
      return refusal;
    }
    const auto wanted = static_cast<int32_t>(fcs_value_word(value));
    if (wanted != kStart && wanted != kDoNothing) {
      FCS_DETAIL("%s: bad value\n");
      return SNMP_ERR_BADVALUE; // Deliberately the status of SNMPv1.
    }
    FCS_DETAIL("%s:exit rev1\n");
    break;
  }
  case RESERVE2: fcs_start_discovery_pending = value; break;
  case ACTION:
    if (fcs_start_discovery_pending == nullptr) {
      return SNMP_ERR_GENERR;
    }
    fcs_start_discovery = static_cast<int32_t>(fcs_value_word(fcs_start_discovery_pending));
    break;
  case COMMIT:
    fcs_start_discovery_pending = nullptr;
    if (fcs_start_discovery == kDoNothing) {
      return SNMP_ERR_NOERROR;
    }
    start_discovery();
    break;
  default: fcs_start_discovery_pending = nullptr; break;
  }
  fputs("Returning no error.....\n", stderr);
  return SNMP_ERR_NOERROR;
}

int write_fcsDiscoveryInvalidateCache2k(int action, u_char *value, u_char type, size_t length,
                                        u_char * /*current*/, oid *name, size_t name_length) {
  switch (action) {
  case RESERVE1:
    return fcs_reserve_vsan_list(kInvalidate2k, kHalf2k, __func__, value, type, length, name,
                                 name_length);
  case ACTION: return invalidate(kHalf2k, value, length);
  default: return SNMP_ERR_NOERROR;
  }
}

int write_fcsDiscoveryInvalidateCache4k(int action, u_char *value, u_char type, size_t length,
                                        u_char * /*current*/, oid *name, size_t name_length) {
  switch (action) {
  case RESERVE1:
    return fcs_reserve_vsan_list(kInvalidate4k, kHalf4k, __func__, value, type, length, name,
                                 name_length);
  case ACTION: return invalidate(kHalf4k, value, length);
  default: return SNMP_ERR_NOERROR;
  }
}
