// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_write.h"

#include "platform/errno_text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

/** The record that the agent host's log is handed; each failure overwrites it. */
static SetErrorRecord set_error_record;

static const char *type_name(u_char type) {
  switch (type) {
  case ASN_INTEGER: return "ASN_INTEGER";
  case ASN_UNSIGNED: return "ASN_UNSIGNED";
  default: return "ASN_OCTET_STR";
  }
}

int fcs_check_value(const FcsWriteLimits &limits, const char *handler, u_char type, size_t length) {
  if (type != limits.type) {
    fprintf(stderr, "write to %s not %s\n", limits.object, type_name(limits.type));
    FCS_DETAIL_LINE(handler, limits.wrong_type);
    return SNMP_ERR_WRONGTYPE;
  }
  if (length < limits.min_length || length > limits.max_length) {
    if (limits.length_traced_first) {
      FCS_DETAIL_LINE(handler, limits.bad_length);
    }
    fprintf(stderr, "write to %s: bad length\n", limits.object);
    if (!limits.length_traced_first) {
      FCS_DETAIL_LINE(handler, limits.bad_length);
    }
    return SNMP_ERR_WRONGLENGTH;
  }
  return SNMP_ERR_NOERROR;
}

uint32_t fcs_value_word(const u_char *value) {
  uint32_t word = 0;
  memcpy(&word, value, sizeof(word));
  return word;
}

void fcs_report_set_error(int32_t code) {
  set_error_record.code = code;
  snprintf(set_error_record.text, sizeof(set_error_record.text), "%s", errno_text(code));
  agent_log_error(&set_error_record);
}

const char *fcs_exchange_error_text(int32_t result) {
  return result == -1 ? strerror(errno) : errno_text(result);
}
