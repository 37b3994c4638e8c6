#include "fcs_mib.h"

#include <cstring>

/**
 * Orders two keys of two signed words, first word first. The sign is deliberately the reverse of
 * the usual one: positive when `a` sorts before `b`, as the container wants it.
 */
static int compare_word_pairs(const void *a, const void *b) {
  int32_t left[2];
  int32_t right[2];
  memcpy(left, a, sizeof(left));
  memcpy(right, b, sizeof(right));
  for (int i = 0; i < 2; ++i) {
    if (left[i] != right[i]) {
      return left[i] < right[i] ? 1 : -1;
    }
  }
  return 0;
}

int mgmt_addr_cmp(const void *a, const void *b) {
  return compare_word_pairs(a, b);
}

int platform_cmp(const void *a, const void *b) {
  return compare_word_pairs(a, b);
}

// Configuration rows cannot be written yet: every SET of a column is refused, before anything
// changes.

int write_fcsMgmtAddr(int /*action*/, u_char * /*value*/, u_char /*type*/, size_t /*length*/,
                      u_char * /*current*/, oid * /*name*/, size_t /*name_length*/) {
  return SNMP_ERR_NOTWRITABLE;
}

int write_fcsMgmtAddrRowStatus(int /*action*/, u_char * /*value*/, u_char /*type*/,
                               size_t /*length*/, u_char * /*current*/, oid * /*name*/,
                               size_t /*name_length*/) {
  return SNMP_ERR_NOTWRITABLE;
}

int write_fcsPlatformName(int /*action*/, u_char * /*value*/, u_char /*type*/, size_t /*length*/,
                          u_char * /*current*/, oid * /*name*/, size_t /*name_length*/) {
  return SNMP_ERR_NOTWRITABLE;
}

int write_fcsPlatformType(int /*action*/, u_char * /*value*/, u_char /*type*/, size_t /*length*/,
                          u_char * /*current*/, oid * /*name*/, size_t /*name_length*/) {
  return SNMP_ERR_NOTWRITABLE;
}

int write_fcsPlatformNodeNameListIndex(int /*action*/, u_char * /*value*/, u_char /*type*/,
                                       size_t /*length*/, u_char * /*current*/, oid * /*name*/,
                                       size_t /*name_length*/) {
  return SNMP_ERR_NOTWRITABLE;
}

int write_fcsPlatformMgmtAddrListIndex(int /*action*/, u_char * /*value*/, u_char /*type*/,
                                       size_t /*length*/, u_char * /*current*/, oid * /*name*/,
                                       size_t /*name_length*/) {
  return SNMP_ERR_NOTWRITABLE;
}

int write_fcsPlatformValidation(int /*action*/, u_char * /*value*/, u_char /*type*/,
                                size_t /*length*/, u_char * /*current*/, oid * /*name*/,
                                size_t /*name_length*/) {
  return SNMP_ERR_NOTWRITABLE;
}

int write_fcsPlatformRowStatus(int /*action*/, u_char * /*value*/, u_char /*type*/,
                               size_t /*length*/, u_char * /*current*/, oid * /*name*/,
                               size_t /*name_length*/) {
  return SNMP_ERR_NOTWRITABLE;
}

int write_fcsNodeNameRowStatus(int /*action*/, u_char * /*value*/, u_char /*type*/,
                               size_t /*length*/, u_char * /*current*/, oid * /*name*/,
                               size_t /*name_length*/) {
  return SNMP_ERR_NOTWRITABLE;
}
