// SPDX-License-Identifier: BSD-3-Clause
/** What the write handlers share: handing them out, refusing values, and reporting failures. */
#pragma once

#include "fcs_trace.h"
#include "platform/agent_host.h"

#include <cstddef>
#include <cstdint>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

/** A writable object and its handler. */
struct FcsWritable {
  u_char magic;
  WriteMethod *write_method;
};

/** Stores the write handler of a writable object into *write_method; leaves it alone for others. */
template <size_t Objects>
void fcs_hand_out_write_method(const FcsWritable (&objects)[Objects], u_char magic,
                               WriteMethod **write_method) {
  for (const FcsWritable &object : objects) {
    if (object.magic == magic) {
      *write_method = object.write_method;
    }
  }
}

/** What a value must be to pass RESERVE1, and what is said of one that does not. */
struct FcsWriteLimits {
  const char *object; ///< The object's name on standard error.
  u_char type;        ///< ASN_INTEGER, ASN_UNSIGNED or ASN_OCTET_STR.
  size_t max_length;
  FcsLine wrong_type; ///< The handler's traces.
  FcsLine bad_length;
  size_t min_length = 0;
  bool length_traced_first = false; ///< Whether a bad length is traced before it is written.
};

/**
 * Checks type and length of a value. A refusal is written to standard error and traced under the
 * handler's name.
 * \return SNMP_ERR_NOERROR, SNMP_ERR_WRONGTYPE or SNMP_ERR_WRONGLENGTH.
 */
int fcs_check_value(const FcsWriteLimits &limits, const char *handler, u_char type, size_t length);

/** The 32-bit word of an INTEGER or Unsigned32 value, there whatever the value's length. */
uint32_t fcs_value_word(const u_char *value);

/** Reports error `code` of a write to the agent host's log, with its text. */
void fcs_report_set_error(int32_t code);

/** What events say of a failed fcs_set_data: the system's text when the exchange itself failed. */
const char *fcs_exchange_error_text(int32_t result);

/** One call of the write handler of a row's column. */
struct FcsRowWrite {
  const char *handler; ///< Its name, for the traces.
  int action;
  const u_char *value;
  u_char type;
  size_t length;
  u_char *current; ///< What the read handler returned for the instance; null when it is no row.
  const oid *name;
  size_t name_length;

  int32_t integer() const { return static_cast<int32_t>(fcs_value_word(value)); }
};
