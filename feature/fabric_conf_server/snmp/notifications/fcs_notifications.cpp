// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_vsan_half.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "frame/fcs_row_lookup.h"
#include "frame/fcs_trace.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

/** An OID of four sub-identifiers under the module root. */
struct ObjectName {
  oid name[FCS_ROOT_LENGTH + 4];
};
static_assert(std::size(ObjectName().name) == AGENT_TRAP_OID_ROOM);

constexpr ObjectName under_root(oid a, oid b, oid c, oid d) {
  return {{FCS_MODULE_ROOT, a, b, c, d}};
}

constexpr ObjectName kReqRejNotify = under_root(1, 4, 0, 1);
constexpr ObjectName kDiscoveryCompleteNotify = under_root(1, 4, 0, 2);
constexpr ObjectName kMgmtAddrChangeNotify = under_root(1, 4, 0, 3);
constexpr ObjectName kRejReasonCode = under_root(1, 3, 1, 0);
constexpr ObjectName kRejReasonCodeExpl = under_root(1, 3, 2, 0);
constexpr ObjectName kNotifyVsan = under_root(1, 3, 3, 0);
constexpr ObjectName kNotifyMgmtAddr = under_root(1, 3, 4, 0);
constexpr ObjectName kVsanDiscoveryName = under_root(1, 1, 2, 0);

template <typename Payload> Payload payload_of(const IpcMessage *message) {
  Payload payload;
  memcpy(&payload, ipc_payload_get(message), sizeof(payload));
  return payload;
}

netsnmp_variable_list *append(netsnmp_variable_list *list, const ObjectName &object, u_char type,
                              const void *value, size_t length) {
  return agent_build_varbind(list, value, type, length, object.name, std::size(object.name));
}

/** Has the agent host send the notification. */
void raise(const ObjectName &notification, oid *trap_oid, size_t *trap_oid_length, int *send) {
  std::copy(std::begin(notification.name), std::end(notification.name), trap_oid);
  *trap_oid_length = std::size(notification.name);
  *send = 1;
}

/** Sends the module the message of a complete discovery; its handler raises the notification. */
void loop_back_completion() {
  char name[FCS_DISCOVERY_NAME_SIZE];
  memcpy(name, fcs_discovery_name, sizeof(name));
  ipc_send(ipc_response_queue, &IPC_OWN_NOTIFICATIONS, FCS_MSG_DISC_COMPLETE, name, sizeof(name), 0,
           0, 0);
}

bool all_notified(const VsanHalf &half) {
  return bitmap_equal(half.outstanding, half.notified) != 0;
}

} // namespace

netsnmp_variable_list *handle_fcs_reg_req_rej_notif(const IpcMessage *message, oid *trap_oid,
                                                    size_t *trap_oid_length, int *send) {
  FCS_DETAIL("%s:entering\n");
  *send = 0;
  FcsAnswer<uint32_t> wanted{};
  fcs_get_data(FCS_REC_REJECT_TRAP, FCS_OP_GET, nullptr, 0, &wanted);
  if (message == nullptr || wanted.record == 0) {
    return nullptr;
  }
  auto reject = payload_of<FcsRejectNotif>(message);
  fcs_map_reason_code(&reject.reason);
  fcs_rej_reason_code = static_cast<int32_t>(reject.reason);
  netsnmp_variable_list *bindings = append(nullptr, kRejReasonCode, ASN_INTEGER,
                                           &fcs_rej_reason_code, sizeof(fcs_rej_reason_code));
  fcs_map_reason_code_expl(&reject.explanation);
  fcs_rej_reason_code_expl = static_cast<int32_t>(reject.explanation);
  bindings = append(bindings, kRejReasonCodeExpl, ASN_INTEGER, &fcs_rej_reason_code_expl,
                    sizeof(fcs_rej_reason_code_expl));
  raise(kReqRejNotify, trap_oid, trap_oid_length, send);
  FCS_DETAIL("%s:end\n");
  return bindings;
}

netsnmp_variable_list *handle_fcs_disc_comp_notif(const IpcMessage *message, oid *trap_oid,
                                                  size_t *trap_oid_length, int *send) {
  FCS_DETAIL("%s:entering\n");
  *send = 0;
  // Asked every time, and deliberately without regard to the answer.
  FcsAnswer<uint32_t> ignored{};
  fcs_get_data(FCS_REC_COMPLETE_TRAP, FCS_OP_GET, nullptr, 0, &ignored);
  if (message == nullptr) {
    return nullptr;
  }
  const auto *name = static_cast<const char *>(ipc_payload_get(message));
  netsnmp_variable_list *bindings = append(nullptr, kVsanDiscoveryName, ASN_OCTET_STR, name,
                                           strnlen(name, FCS_DISCOVERY_NAME_SIZE - 1));
  raise(kDiscoveryCompleteNotify, trap_oid, trap_oid_length, send);
  FCS_DETAIL("%s:end\n");
  return bindings;
}

netsnmp_variable_list *handle_fcs_disc_comp_on_vsan_notif(const IpcMessage *message,
                                                          oid * /*trap_oid*/,
                                                          size_t * /*trap_oid_length*/, int *send) {
  FCS_DETAIL("%s:entering\n");
  *send = 0;
  if (message == nullptr) {
    return nullptr;
  }
  const uint32_t vsan = payload_of<FcsVsanNotif>(message).vsan;
  const VsanHalf &half = half_of(vsan);
  bitmap_set_bit(half.notified, bit_of(half, vsan));
  // Either half is enough, two empty ones included, and every further message announces it again.
  if (all_notified(kHalf2k) || all_notified(kHalf4k)) {
    FCS_EVENT("About to send disc complete notif..\n");
    loop_back_completion();
  }
  FCS_DETAIL("%s:end\n");
  return nullptr;
}

netsnmp_variable_list *handle_fcs_timeout_on_vsan_notif(const IpcMessage *message,
                                                        oid * /*trap_oid*/,
                                                        size_t * /*trap_oid_length*/, int *send) {
  FCS_DETAIL("%s:entering\n");
  *send = 0;
  if (message == nullptr) {
    return nullptr;
  }
  const uint32_t vsan = payload_of<FcsVsanNotif>(message).vsan;
  const VsanHalf &half = half_of(vsan);
  bitmap_clear_bit(half.outstanding, bit_of(half, vsan));
  FCS_DETAIL("%s:end\n");
  return nullptr;
}

netsnmp_variable_list *handle_fcs_ip_addr_change_notif(const IpcMessage *message, oid *trap_oid,
                                                       size_t *trap_oid_length, int *send) {
  FCS_EVENT("Got ip addr change notif\n");
  *send = 0;
  if (message == nullptr) {
    return nullptr;
  }
  const auto change = payload_of<FcsAddressNotif>(message);
  FCS_EVENT("Vsan is %d\n", static_cast<int32_t>(change.vsan));
  netsnmp_variable_list *bindings =
      append(nullptr, kNotifyVsan, ASN_INTEGER, &change.vsan, sizeof(change.vsan));
  bindings =
      append(bindings, kNotifyMgmtAddr, ASN_OCTET_STR, change.address, sizeof(change.address));
  raise(kMgmtAddrChangeNotify, trap_oid, trap_oid_length, send);
  FCS_DETAIL("%s:end\n");
  return bindings;
}
