#include "configuration.h"

#include "platform/errno_text.h"
#include "service/fabric/fabric_terms.h"
#include "service/reports/log.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>

namespace fcs {

namespace {

bool is_index(int32_t index) {
  return index > 0;
}

/** Whether a row with this status word may be set, seeing that there is one already or none. */
FcsResult row_fault(uint32_t row_status, bool exists) {
  switch (row_status) {
  case FCS_ROW_ACTIVE: return exists ? FCS_OK : FCS_ERR_NO_SUCH_ROW;
  case FCS_ROW_CREATE_AND_GO: return exists ? FCS_ERR_ROW_EXISTS : FCS_OK;
  default: return FCS_ERR_BAD_VALUE;
  }
}

FcsResult found(bool exists) {
  return exists ? FCS_OK : FCS_ERR_NO_SUCH_ROW;
}

/** The entry as a row that was set by configuration. */
template <typename Entry> Entry configured(Entry entry) {
  entry.config_source = 1;
  return entry;
}

Octets name_of(const PlatformEntry &entry) {
  return {entry.name, entry.name_length};
}

Octets address_of(const MgmtAddrEntry &entry) {
  return {entry.address, entry.address_length};
}

/** The address as a notification carries it: an IP address in binary, cut to what has room. */
FcsAddressNotif address_notif(uint32_t vsan, Octets address) {
  FcsAddressNotif notif{vsan, {}};
  const std::string text(text_of(address));
  uint8_t ip[sizeof(in6_addr)] = {};
  if (inet_pton(AF_INET, text.c_str(), ip) == 1 || inet_pton(AF_INET6, text.c_str(), ip) == 1) {
    address = ip;
  }
  std::copy_n(address.begin(), std::min(address.size(), sizeof(notif.address)), notif.address);
  return notif;
}

const char *verb(FcsOperation operation, uint32_t row_status) {
  return operation == FCS_OP_DELETE            ? "deleted"
         : row_status == FCS_ROW_CREATE_AND_GO ? "created"
                                               : "changed";
}

/** A name from outside, fit to stand in a line of the log. */
std::string printable(std::string_view name) {
  std::string text(name);
  std::ranges::replace_if(
      text, [](unsigned char octet) { return octet < ' ' || octet == 0x7F || octet == '"'; }, '?');
  return text;
}

} // namespace

Configuration::Configuration(FabricStore &store, NotificationQueue &notifications)
    : store_(store), notifications_(notifications) {}

FcsResult Configuration::apply(FcsOperation operation, const MgmtAddrEntry &entry,
                               std::string_view user) {
  return change(operation, entry, entry.row_status,
                "management address " + std::to_string(entry.address_index) + " of list " +
                    std::to_string(entry.list_index),
                user);
}

FcsResult Configuration::apply(FcsOperation operation, const PlatformEntry &entry,
                               std::string_view user) {
  return change(operation, entry, entry.row_status,
                "platform " + std::to_string(entry.platform_index) + " of VSAN " +
                    std::to_string(entry.vsan),
                user);
}

FcsResult Configuration::apply(FcsOperation operation, const NodeNameEntry &entry,
                               std::string_view user) {
  return change(operation, entry, FCS_ROW_CREATE_AND_GO,
                "node name " + to_wwn(entry.name) + " of list " + std::to_string(entry.list_index),
                user);
}

template <typename Entry>
FcsResult Configuration::change(FcsOperation operation, const Entry &entry, uint32_t row_status,
                                const std::string &row, std::string_view user) {
  const char *const done = verb(operation, row_status);
  announcements_.clear();
  WriteTransaction transaction = store_.write();
  const FcsResult result = operation == FCS_OP_DELETE ? remove(entry) : set(entry);
  if (result != FCS_OK) {
    log_line("user \"%s\": %s not %s: %s", printable(user).c_str(), row.c_str(), done,
             errno_text(result));
    return result;
  }
  transaction.commit();
  log_line("user \"%s\": %s %s", printable(user).c_str(), row.c_str(), done);
  for (const Notification &announcement : announcements_) {
    notifications_.push(announcement);
  }
  return FCS_OK;
}

FcsResult Configuration::set(const MgmtAddrEntry &entry) {
  if (!is_index(entry.list_index) || !is_index(entry.address_index)) {
    return FCS_ERR_BAD_VALUE;
  }
  const auto stored = store_.mgmt_addr(entry);
  if (const FcsResult fault = row_fault(entry.row_status, stored.has_value())) {
    return fault;
  }
  const Octets address = address_of(entry);
  if (address.empty()) {
    return FCS_ERR_EMPTY_ADDRESS;
  }
  const auto list = static_cast<uint32_t>(entry.list_index);
  store_.delete_mgmt_addr(list, static_cast<uint32_t>(entry.address_index));
  store_.add(configured(entry));
  if (!stored || !std::ranges::equal(address_of(*stored), address)) {
    announce(list, address);
  }
  return FCS_OK;
}

FcsResult Configuration::remove(const MgmtAddrEntry &entry) {
  const auto list = static_cast<uint32_t>(entry.list_index);
  const bool deleted = store_.delete_mgmt_addr(list, static_cast<uint32_t>(entry.address_index));
  if (deleted) {
    announce(list, {});
  }
  return found(deleted);
}

/** Announces an address of the elements that have the list; no octets stand for a deleted one. */
void Configuration::announce(uint32_t mgmt_addr_list, Octets address) {
  for (const uint32_t vsan : store_.vsans_of_elements(mgmt_addr_list)) {
    announcements_.push_back(notification(FCS_MSG_IP_ADDR_CHANGE, address_notif(vsan, address)));
  }
}

FcsResult Configuration::set(const PlatformEntry &entry) {
  if (const FcsResult fault = platform_fault(entry)) {
    return fault;
  }
  PlatformEntry row = configured(entry);
  row.validation_result = validation_result(entry);
  store_.delete_platform(static_cast<uint32_t>(entry.vsan),
                         static_cast<uint32_t>(entry.platform_index));
  store_.add(row);
  return FCS_OK;
}

FcsResult Configuration::platform_fault(const PlatformEntry &entry) {
  const auto vsan = static_cast<uint32_t>(entry.vsan);
  if (!store_.has_vsan(vsan)) {
    return FCS_ERR_UNKNOWN_VSAN;
  }
  if (!is_index(entry.platform_index)) {
    return FCS_ERR_BAD_VALUE;
  }
  const auto stored = store_.platform({entry.vsan, entry.platform_index});
  if (const FcsResult fault = row_fault(entry.row_status, stored.has_value())) {
    return fault;
  }
  const bool has_known_type = entry.type == 0 || word_of(kPlatformTypes, entry.type).has_value() ||
                              (stored && stored->type == entry.type);
  if (!has_known_type || entry.node_name_list_index > kMaxIndex ||
      entry.mgmt_addr_list_index > kMaxIndex || entry.validation_request > 1) {
    return FCS_ERR_BAD_VALUE;
  }
  const Octets name = name_of(entry);
  if (stored && std::ranges::equal(name_of(*stored), name)) {
    return FCS_OK;
  }
  if (name.empty() || std::ranges::find(name, ' ') != name.end()) {
    return FCS_ERR_BAD_PLATFORM_NAME;
  }
  return store_.has_platform_named(vsan, name) ? FCS_ERR_PLATFORM_NAME_TAKEN : FCS_OK;
}

/** What is known of the row as it is set: a new one may come without so much as a result. */
FcsValidationResult Configuration::validation_result(const PlatformEntry &entry) {
  if (entry.validation_request != 0) {
    return validate(entry);
  }
  return entry.row_status == FCS_ROW_CREATE_AND_GO && entry.validation_result == FCS_NO_RESULT
             ? FCS_NO_RESULT
             : FCS_NOT_VALIDATED;
}

/** Whether every list that the platform refers to has rows. */
FcsValidationResult Configuration::validate(const PlatformEntry &entry) {
  const uint32_t node_names = entry.node_name_list_index;
  const uint32_t addresses = entry.mgmt_addr_list_index;
  return (node_names == 0 || store_.has_node_names(node_names)) &&
                 (addresses == 0 || store_.has_mgmt_addrs(addresses))
             ? FCS_VALID
             : FCS_INVALID;
}

FcsResult Configuration::remove(const PlatformEntry &entry) {
  return found(store_.delete_platform(static_cast<uint32_t>(entry.vsan),
                                      static_cast<uint32_t>(entry.platform_index)));
}

FcsResult Configuration::set(const NodeNameEntry &entry) {
  if (!is_index(entry.list_index)) {
    return FCS_ERR_BAD_VALUE;
  }
  const auto list = static_cast<uint32_t>(entry.list_index);
  if (const auto taken = store_.list_of_node_name(entry.name)) {
    return *taken == list ? FCS_ERR_ROW_EXISTS : FCS_ERR_NODE_NAME_TAKEN;
  }
  store_.add(configured(entry));
  return FCS_OK;
}

FcsResult Configuration::remove(const NodeNameEntry &entry) {
  return found(store_.delete_node_name(static_cast<uint32_t>(entry.list_index), entry.name));
}

} // namespace fcs
