#include "writable_object.h"

#include "platform/role.h"

#include <algorithm>
#include <array>
#include <span>

namespace {

/** Sub-identifiers of the module root. */
constexpr size_t kRootLength = 9;

/** Octets of the role service's sets. */
constexpr uint32_t kRoleSetBytes = 512;

/** What the index of an object's instances tells of a VSAN. */
enum class Scope {
  kNone,
  kVsan,        ///< It begins with one; the module keeps users out of what they may not write.
  kGuardedVsan, ///< It begins with one, and the agent host has to.
};

/** A writable object; its OID behind the module root, filled up with zeros. */
struct WritableObject {
  const char *name;
  std::array<oid, 5> suffix;
  Scope scope = Scope::kNone;
  bool begins_rows = false; ///< Of which the module keeps what it has not sent.

  std::span<const oid> path() const {
    return {suffix.begin(), std::find(suffix.begin(), suffix.end(), 0U)};
  }
};

constexpr WritableObject kWritable[] = {
    {"fcsVsanDiscoverySpinLock", {1, 1, 1}},
    {"fcsVsanDiscoveryName", {1, 1, 2}},
    {"fcsVsanDiscoveryList2k", {1, 1, 3}},
    {"fcsVsanDiscoveryList4k", {1, 1, 4}},
    {"fcsStartDiscovery", {1, 1, 5}},
    {"fcsVsanDiscoveryTimeOut", {1, 1, 7}},
    {"fcsDiscoveryInvalidateCache2k", {1, 1, 8}},
    {"fcsDiscoveryInvalidateCache4k", {1, 1, 9}},
    {"fcsMgmtAddr", {1, 1, 12, 1, 3}, Scope::kNone, true},
    {"fcsMgmtAddrRowStatus", {1, 1, 12, 1, 5}, Scope::kNone, true},
    {"fcsPlatformName", {1, 1, 18, 1, 2}, Scope::kVsan, true},
    {"fcsPlatformType", {1, 1, 18, 1, 3}, Scope::kGuardedVsan},
    {"fcsPlatformNodeNameListIndex", {1, 1, 18, 1, 4}, Scope::kGuardedVsan},
    {"fcsPlatformMgmtAddrListIndex", {1, 1, 18, 1, 5}, Scope::kGuardedVsan},
    {"fcsPlatformValidation", {1, 1, 18, 1, 7}, Scope::kGuardedVsan},
    {"fcsPlatformRowStatus", {1, 1, 18, 1, 9}, Scope::kVsan, true},
    {"fcsNodeNameRowStatus", {1, 1, 19, 1, 4}},
    {"fcsReqRejNotifyEnable", {1, 1, 20}},
    {"fcsDiscoveryCompleteNotifyEnable", {1, 1, 21}},
};

/** An instance, taken apart. */
struct Instance {
  const WritableObject *object; ///< Null: none of the writable objects.
  std::span<const oid> index;   ///< What follows the object's OID; the whole name without object.
};

Instance instance_of(std::span<const oid> name) {
  const auto behind_root = name.subspan(std::min(name.size(), kRootLength));
  for (const WritableObject &object : kWritable) {
    const auto path = object.path();
    if (behind_root.size() >= path.size() &&
        std::ranges::equal(behind_root.first(path.size()), path)) {
      return {&object, behind_root.subspan(path.size())};
    }
  }
  return {nullptr, name};
}

} // namespace

std::string writable_instance_text(const oid *name, size_t length) {
  const Instance instance = instance_of({name, length});
  std::string text = instance.object == nullptr ? "" : instance.object->name;
  for (const oid id : instance.index) {
    text += "." + std::to_string(id);
  }
  if (instance.object != nullptr && instance.object->scope != Scope::kNone &&
      !instance.index.empty()) {
    text += " (VSAN " + std::to_string(instance.index[0]) + ")";
  }
  return text;
}

int writable_instance_status(const oid *name, size_t length) {
  const Instance instance = instance_of({name, length});
  const bool is_known = instance.object != nullptr;
  if (is_known && (instance.object->scope != Scope::kGuardedVsan || instance.index.empty())) {
    return SNMP_ERR_NOERROR;
  }
  VsanBitmap allowed{.byte_count = kRoleSetBytes, .bytes = {}};
  if (role_allowed_vsans(&allowed, name, length, ROLE_ACCESS_WRITE) == 0) {
    return SNMP_ERR_NOERROR;
  }
  if (!is_known) {
    return SNMP_ERR_NOTWRITABLE;
  }
  return role_vsan_allowed(static_cast<uint32_t>(instance.index[0]), allowed) != 0
             ? SNMP_ERR_NOERROR
             : SNMP_ERR_GENERR;
}

bool writable_instance_begins_row(const oid *name, size_t length) {
  const Instance instance = instance_of({name, length});
  return instance.object != nullptr && instance.object->begins_rows;
}
