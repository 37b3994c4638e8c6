#include "writable_object.h"

#include "feature/fabric_conf_server/snmp/fcs_variables.h"
#include "feature/fabric_conf_server/snmp/frame/fcs_row_lookup.h"

#include <algorithm>

namespace {

/** That of a writable object in the variable table; what is none does not compile. */
consteval ObjectPath path_of(FcsObject object) {
  const auto *row = std::ranges::find_if(fcs_mib_variables, [object](const variable7 &variable) {
    return variable.magic == object && variable.acl == RW;
  });
  ObjectPath path{.ids = {}, .length = row->namelen};
  std::copy_n(row->name, path.length, path.ids.begin());
  return path;
}

constexpr WritableObject kWritable[] = {
    {"fcsVsanDiscoverySpinLock", path_of(fcsVsanDiscoverySpinLock)},
    {"fcsVsanDiscoveryName", path_of(fcsVsanDiscoveryName)},
    {"fcsVsanDiscoveryList2k", path_of(fcsVsanDiscoveryList2k)},
    {"fcsVsanDiscoveryList4k", path_of(fcsVsanDiscoveryList4k)},
    {"fcsStartDiscovery", path_of(fcsStartDiscovery)},
    {"fcsVsanDiscoveryTimeOut", path_of(fcsVsanDiscoveryTimeOut)},
    {"fcsDiscoveryInvalidateCache2k", path_of(fcsDiscoveryInvalidateCache2k)},
    {"fcsDiscoveryInvalidateCache4k", path_of(fcsDiscoveryInvalidateCache4k)},
    {"fcsMgmtAddr", path_of(fcsMgmtAddr), VsanScope::kNone, true},
    {"fcsMgmtAddrRowStatus", path_of(fcsMgmtAddrRowStatus), VsanScope::kNone, true},
    {"fcsPlatformName", path_of(fcsPlatformName), VsanScope::kChecked, true},
    {"fcsPlatformType", path_of(fcsPlatformType), VsanScope::kGuarded},
    {"fcsPlatformNodeNameListIndex", path_of(fcsPlatformNodeNameListIndex), VsanScope::kGuarded},
    {"fcsPlatformMgmtAddrListIndex", path_of(fcsPlatformMgmtAddrListIndex), VsanScope::kGuarded},
    {"fcsPlatformValidation", path_of(fcsPlatformValidation), VsanScope::kGuarded},
    {"fcsPlatformRowStatus", path_of(fcsPlatformRowStatus), VsanScope::kChecked, true},
    {"fcsNodeNameRowStatus", path_of(fcsNodeNameRowStatus)},
    {"fcsReqRejNotifyEnable", path_of(fcsReqRejNotifyEnable)},
    {"fcsDiscoveryCompleteNotifyEnable", path_of(fcsDiscoveryCompleteNotifyEnable)},
};
static_assert(std::ranges::count(fcs_mib_variables, RW, &variable7::acl) == std::ssize(kWritable));

} // namespace

WritableInstance writable_instance(std::span<const oid> name) {
  const auto behind_root = name.subspan(std::min(name.size(), FCS_ROOT_LENGTH));
  for (const WritableObject &object : kWritable) {
    const std::span path = std::span(object.path.ids).first(object.path.length);
    if (behind_root.size() >= path.size() &&
        std::ranges::equal(behind_root.first(path.size()), path)) {
      return {&object, behind_root.subspan(path.size())};
    }
  }
  return {nullptr, name};
}

std::string writable_instance_text(const oid *name, size_t length) {
  const WritableInstance instance = writable_instance({name, length});
  std::string text = instance.object == nullptr ? "" : instance.object->name;
  for (const oid id : instance.index) {
    text += "." + std::to_string(id);
  }
  if (instance.object != nullptr && instance.object->scope != VsanScope::kNone &&
      !instance.index.empty()) {
    text += " (VSAN " + std::to_string(instance.index[0]) + ")";
  }
  return text;
}
