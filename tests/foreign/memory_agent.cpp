/**
 * The hooks of snmpd's `dlmod memory_fcs .../memory_fcs.so`: the module over a small fabric in
 * memory, whose discoveries are complete as soon as they start.
 */
#include "memory_platform.h"

#include "feature/fabric_conf_server/snmp/fcs_mib.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

template <typename Record> Bytes bytes_of(const Record &record) {
  const auto *first = reinterpret_cast<const uint8_t *>(&record);
  return {first, first + sizeof(record)};
}

void describe_fabric() {
  constexpr uint32_t kVsan = 7;
  IeEntry element{
      .vsan = kVsan, .name = {0x20, 0, 0, 0, 0x5E, 1, 2, 3}, .type = 1, .domain_id = 97};
  memcpy(element.logical_name, "edge-1", element.logical_name_length = 6);
  platform.fabric.add(FCS_REC_IE, bytes_of(element));
  platform.fabric.add(FCS_REC_IE_COUNT, bytes_of(uint32_t{1}));
  platform.fabric.add(FCS_REC_DISCOVERY_STATUS,
                      bytes_of(fcs_disc_status_record{kVsan, FCS_DISCOVERY_LOCAL_ONLY, 0, 0}));
}

// ---- Notifications, between requests

void deliver_sent(unsigned int /*alarm*/, void * /*client*/) {
  for (const auto &[opcode, payload] : std::exchange(platform.sent, {})) {
    netsnmp_variable_list *notification = deliver(opcode, payload);
    if (notification != nullptr) {
      send_v2trap(notification);
      snmp_free_varbind(notification);
    }
  }
}

Reply complete_discoveries(const Request &request) {
  if (request.opcode == FCS_MSG_START_DISCOVERY) {
    platform.sent.push_back({FCS_MSG_DISC_COMP_ON_VSAN, request.payload});
  }
  return platform.fabric.answer(request);
}

// ---- In front of the module's registrations

/** Hands the handlers 32-bit integers, one binding after the other. */
int serve(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
          netsnmp_agent_request_info *info, netsnmp_request_info *requests) {
  int status = SNMP_ERR_NOERROR;
  for (netsnmp_request_info *request = requests; request != nullptr; request = request->next) {
    netsnmp_request_info *const following = std::exchange(request->next, nullptr);
    netsnmp_variable_list &value = *request->requestvb;
    const bool wide = MODE_IS_SET(info->mode) && sizeof(long) > sizeof(int32_t) &&
                      (value.type == ASN_INTEGER || value.type == ASN_UNSIGNED);
    const long whole = wide ? *value.val.integer : 0;
    if (wide) {
      const auto word = static_cast<int32_t>(whole);
      memcpy(value.val.integer, &word, value.val_len = sizeof(word));
    }
    status = std::max(status, netsnmp_call_next_handler(handler, registration, info, request));
    if (wide) {
      *value.val.integer = whole;
      value.val_len = sizeof(long);
    }
    request->next = following;
  }
  return status;
}

std::vector<netsnmp_handler_registration *> registrations() {
  std::vector<netsnmp_handler_registration *> found;
  for (auto *tree = netsnmp_subtree_find_first(""); tree != nullptr; tree = tree->next) {
    if (tree->reginfo != nullptr && tree->reginfo->handlerName != nullptr &&
        strcmp(tree->reginfo->handlerName, "fcs_mib") == 0) {
      found.push_back(tree->reginfo);
    }
  }
  return found;
}

unsigned int alarm_id;

} // namespace

extern "C" void init_memory_fcs() {
  describe_fabric();
  platform.service = complete_discoveries;
  init_fcs_mib();
  for (auto *registration : registrations()) {
    netsnmp_inject_handler(registration, netsnmp_create_handler("memory_fcs", serve));
  }
  alarm_id = snmp_alarm_register(1, SA_REPEAT, deliver_sent, nullptr);
}

extern "C" void deinit_memory_fcs() {
  snmp_alarm_unregister(alarm_id);
  deinit_fcs_mib();
  for (auto *registration : registrations()) {
    const std::vector<oid> root(registration->rootoid,
                                registration->rootoid + registration->rootoid_len);
    unregister_mib(const_cast<oid *>(root.data()), root.size());
  }
  row_index_release(temp_mgmt_addr_table);
  row_index_release(temp_platform_table);
}
