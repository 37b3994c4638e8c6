// SPDX-License-Identifier: BSD-3-Clause
/** The switches of the SNMP notifications, which the agent host keeps. Write side. */
#include "fcs_mib.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "frame/fcs_trace.h"
#include "frame/fcs_write.h"

namespace {

/** One switch: its key at the agent host, and its texts. */
struct NotificationSwitch {
  FcsMessage opcode;
  FcsWriteLimits limits;
  FcsLine failed;
};

constexpr NotificationSwitch kReqRej = {
    FCS_MSG_REG_REQ_REJ,
    {"fcsReqRejNotifyEnable", ASN_INTEGER, 4, "%s:wr type\n", "%s:bad len\n"},
    "%s:gen error\n"};
constexpr NotificationSwitch kDiscoveryComplete = {
    FCS_MSG_DISC_COMPLETE,
    {"fcsDiscoveryCompleteNotifyEnable", ASN_INTEGER, 4, "%s:wrong type\n", "%s:wrong len\n"},
    "%s:gen err\n"};

/** TruthValue (RFC 2579). */
constexpr int32_t kTrue = 1;
constexpr int32_t kFalse = 2;

int reserve(const NotificationSwitch &notification, const char *handler, const u_char *value,
            u_char type, size_t length) {
  FCS_DETAIL_AS(handler, "%s:enter rev1\n");
  if (const int refusal = fcs_check_value(notification.limits, handler, type, length);
      refusal != SNMP_ERR_NOERROR) {
    return refusal;
  }
  const auto truth = static_cast<int32_t>(fcs_value_word(value));
  if (truth != kTrue && truth != kFalse) {
    FCS_DETAIL_AS(handler, "%s:bad val\n");
    return SNMP_ERR_BADVALUE; // Deliberately the status of SNMPv1.
  }
  FCS_DETAIL_AS(handler, "%s:exit rev1\n");
  return SNMP_ERR_NOERROR;
}

int act(const NotificationSwitch &notification, const char *handler, const u_char *value) {
  FCS_DETAIL_AS(handler, "%s:enter action\n");
  const bool enable = static_cast<int32_t>(fcs_value_word(value)) == kTrue;
  const int32_t error = agent_notif_enable_set(notification.opcode, enable ? 1 : 0);
  if (error != 0) {
    fcs_report_set_error(error);
    FCS_DETAIL_LINE(handler, notification.failed);
    return SNMP_ERR_GENERR;
  }
  FCS_DETAIL_AS(handler, "%s:exit action\n");
  return SNMP_ERR_NOERROR;
}

int write(const NotificationSwitch &notification, const char *handler, int action,
          const u_char *value, u_char type, size_t length) {
  switch (action) {
  case RESERVE1: return reserve(notification, handler, value, type, length);
  case ACTION: return act(notification, handler, value);
  default: return SNMP_ERR_NOERROR;
  }
}

} // namespace

int write_fcsReqRejNotifyEnable(int action, u_char *value, u_char type, size_t length,
                                u_char * /*current*/, oid * /*name*/, size_t /*name_length*/) {
  return write(kReqRej, __func__, action, value, type, length);
}

int write_fcsDiscoveryCompleteNotifyEnable(int action, u_char *value, u_char type, size_t length,
                                           u_char * /*current*/, oid * /*name*/,
                                           size_t /*name_length*/) {
  return write(kDiscoveryComplete, __func__, action, value, type, length);
}
