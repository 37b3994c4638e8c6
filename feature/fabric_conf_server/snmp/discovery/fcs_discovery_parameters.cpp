// SPDX-License-Identifier: BSD-3-Clause
/** The scalars that prepare a discovery: spin lock, name, VSAN lists, time-out. Write side. */
#include "fcs_discovery.h"
#include "fcs_vsan_list_write.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "frame/fcs_trace.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr FcsWriteLimits kSpinLock = {"fcsVsanDiscoverySpinLock", ASN_INTEGER, 4,
                                      "%s:return wrng type \n", "%s:return wrong len\n"};
constexpr FcsWriteLimits kName = {"fcsVsanDiscoveryName", ASN_OCTET_STR, 32,
                                  "%s:return wrong type\n", "%s:return wrong len\n"};
constexpr FcsWriteLimits kTimeOut = {"fcsVsanDiscoveryTimeOut", ASN_UNSIGNED, 4, "%s:wrong type\n",
                                     "%s:wrong length\n"};
// Standard error knows the two lists by other names.
constexpr VsanListLimits kList2k = {{"fcsVsanDiscoveryBitMap1", ASN_OCTET_STR, VSAN_HALF_BYTES,
                                     "%s:return wrong type\n", "%s:return wrong len\n"},
                                    "%s:return non writable\n"};
constexpr VsanListLimits kList4k = {{"fcsVsanDiscoveryBitMap2", ASN_OCTET_STR, VSAN_HALF_BYTES,
                                     "%s:wrong type\n", "%s:bad length\n"},
                                    "%s:non writable\n"};

/** The name and its length as staged in RESERVE2. */
char fcs_discovery_name_staged[32];
uint32_t fcs_discovery_name_len;

/** The value of the SET in progress, kept from RESERVE1 to ACTION; null outside of one. */
const u_char *fcs_discovery_timeout_pending;

/** Copies a text of at most `length` octets that ends there or at a NUL; the rest becomes NULs. */
void copy_text(char *target, const char *source, size_t length) {
  const size_t text = strnlen(source, length);
  memcpy(target, source, text);
  memset(target + text, 0, length - text);
}

} // namespace

// The lock moves on in RESERVE2 and stays there, even when another variable of the SET fails later.
int write_fcsVsanDiscoverySpinLock(int action, u_char *value, u_char type, size_t length,
                                   u_char * /*current*/, oid * /*name*/, size_t /*name_length*/) {
  FCS_DETAIL("%s:entering\n");
  if (action == RESERVE1) {
    return fcs_check_value(kSpinLock, __func__, type, length);
  }
  if (action != RESERVE2) {
    return SNMP_ERR_NOERROR;
  }
  fputs("In set of spin lock....\n", stderr);
  FCS_DETAIL("%s:entring rev2\n");
  const auto quoted = static_cast<int32_t>(fcs_value_word(value));
  if (quoted != fcs_spin_lock) {
    fputs("Returning inconsistent val error\n", stderr);
    FCS_DETAIL("%s:return inconsis\n");
    return SNMP_ERR_INCONSISTENTVALUE;
  }
  fcs_spin_lock = quoted == INT32_MAX ? 0 : quoted + 1;
  FCS_DETAIL("%s:exit rev2 \n");
  return SNMP_ERR_NOERROR;
}

int write_fcsVsanDiscoveryName(int action, u_char *value, u_char type, size_t length,
                               u_char * /*current*/, oid * /*name*/, size_t /*name_length*/) {
  switch (action) {
  case RESERVE1: {
    FCS_DETAIL("%s:enter rev1\n");
    const int refusal = fcs_check_value(kName, __func__, type, length);
    if (refusal == SNMP_ERR_NOERROR) {
      FCS_DETAIL("%s:exit rev1\n");
    }
    return refusal;
  }
  case RESERVE2: {
    if (length > sizeof(fcs_discovery_name_staged)) { // No agent gets this far with it.
      return SNMP_ERR_WRONGLENGTH;
    }
    fputs("In set of discovery name...\n", stderr);
    FCS_DETAIL("%s:enter rev2\n");
    fcs_discovery_name_len = static_cast<uint32_t>(length);
    const int printed_length = static_cast<int>(length);
    fprintf(stderr, "Len of discovery name %d\n", printed_length);
    FCS_DETAIL_VALUES("%s:Len of discovery name %d\n", printed_length);
    copy_text(fcs_discovery_name_staged, reinterpret_cast<const char *>(value), length);
    FCS_DETAIL("%s:exit rev2\n");
    return SNMP_ERR_NOERROR;
  }
  case ACTION:
    copy_text(fcs_discovery_name, fcs_discovery_name_staged, fcs_discovery_name_len);
    fcs_discovery_name[fcs_discovery_name_len] = '\0';
    return SNMP_ERR_NOERROR;
  default: return SNMP_ERR_NOERROR;
  }
}

int write_fcsVsanDiscoveryList2k(int action, u_char *value, u_char type, size_t length,
                                 u_char * /*current*/, oid *name, size_t name_length) {
  if (action == RESERVE1) {
    return fcs_reserve_vsan_list(kList2k, kHalf2k, __func__, value, type, length, name,
                                 name_length);
  }
  if (action == ACTION) {
    FCS_EVENT("Clearing vsan 2k bmap\n");
    fcs_store_vsan_list(kHalf2k.staged, value, length);
    FCS_EVENT("Calling reset 2k bmap\n");
    fcs_reset_disc_bitmap2k();
  }
  return SNMP_ERR_NOERROR;
}

// Deliberately without the events of its twin.
int write_fcsVsanDiscoveryList4k(int action, u_char *value, u_char type, size_t length,
                                 u_char * /*current*/, oid *name, size_t name_length) {
  if (action == RESERVE1) {
    return fcs_reserve_vsan_list(kList4k, kHalf4k, __func__, value, type, length, name,
                                 name_length);
  }
  if (action == ACTION) {
    fcs_store_vsan_list(kHalf4k.staged, value, length);
    fcs_reset_disc_bitmap4k();
  }
  return SNMP_ERR_NOERROR;
}

int write_fcsVsanDiscoveryTimeOut(int action, u_char *value, u_char type, size_t length,
                                  u_char * /*current*/, oid * /*name*/, size_t /*name_length*/) {
  switch (action) {
  case RESERVE1: {
    FCS_DETAIL("%s:enter rev1\n");
    if (const int refusal = fcs_check_value(kTimeOut, __func__, type, length);
        refusal != SNMP_ERR_NOERROR) {
      return refusal;
    }
    fcs_discovery_timeout_pending = value;
    const uint32_t seconds = fcs_value_word(value);
    if (seconds < FCS_MIN_DISC_TIMEOUT || seconds > FCS_MAX_DISC_TIMEOUT) {
      FCS_DETAIL("%s:bad value\n");
      return SNMP_ERR_BADVALUE; // Deliberately the status of SNMPv1.
    }
    FCS_DETAIL("%s:exit rev1\n");
    return SNMP_ERR_NOERROR;
  }
  case RESERVE2: fcs_discovery_timeout_pending = value; return SNMP_ERR_NOERROR;
  case ACTION: {
    if (fcs_discovery_timeout_pending == nullptr) {
      return SNMP_ERR_GENERR;
    }
    // The new value stays, also when the service refuses it.
    const uint32_t seconds = fcs_value_word(fcs_discovery_timeout_pending);
    fcs_discovery_timeout = static_cast<int32_t>(seconds);
    const int32_t result =
        fcs_send_message(FCS_MSG_SET_DISC_TIMEOUT, FCS_OP_SET, &seconds, sizeof(seconds));
    return result == 0 ? SNMP_ERR_NOERROR : SNMP_ERR_GENERR;
  }
  default: fcs_discovery_timeout_pending = nullptr; return SNMP_ERR_NOERROR;
  }
}
