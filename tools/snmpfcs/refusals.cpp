#include "refusals.h"

#include <algorithm>

namespace snmpfcs {

namespace {

struct Refusal {
  long status;
  std::string_view name;    ///< Of the status.
  std::string_view objects; ///< Separated by blanks; all others when it is empty.
  std::string_view cause;
  std::string_view remedy;
};

constexpr std::string_view kRowStatuses =
    "fcsPlatformRowStatus fcsMgmtAddrRowStatus fcsNodeNameRowStatus";
constexpr std::string_view kPlatformColumns =
    "fcsPlatformType fcsPlatformNodeNameListIndex fcsPlatformMgmtAddrListIndex "
    "fcsPlatformValidation";
constexpr std::string_view kVsanLists =
    "fcsVsanDiscoveryList2k fcsVsanDiscoveryList4k fcsDiscoveryInvalidateCache2k "
    "fcsDiscoveryInvalidateCache4k";
constexpr std::string_view kAskAdministrator =
    "use another user; the agent's snmpd.conf says who may write";

/** Of one status, those for certain objects come before the one for all others. */
constexpr Refusal kRefusals[] = {
    {SNMP_ERR_WRONGTYPE, "wrongType", "", "the value is of another type than the object",
     "the agent has another module: compare with `snmpfcs help objects`"},
    {SNMP_ERR_WRONGLENGTH, "wrongLength", "fcsPlatformName",
     "a name of no octets, or of more than 255", "change the name"},
    {SNMP_ERR_WRONGLENGTH, "wrongLength", "fcsMgmtAddr", "an address of more than 255 octets",
     "shorten it"},
    {SNMP_ERR_WRONGLENGTH, "wrongLength", "fcsVsanDiscoveryName", "a name of more than 32 octets",
     "shorten it"},
    {SNMP_ERR_WRONGLENGTH, "wrongLength", "", "the value is too long", "shorten it"},
    {SNMP_ERR_WRONGVALUE, "wrongValue", "fcsPlatformName", "a name with a blank",
     "write it without"},
    {SNMP_ERR_BADVALUE, "badValue", "fcsVsanDiscoveryTimeOut",
     "a time-out outside 300 to 1800 seconds", "choose one within"},
    {SNMP_ERR_BADVALUE, "badValue", "",
     "the number is outside its range; with SNMPv1 anything but access",
     "`snmpfcs help objects` has the numbers; ask with SNMPv2c or v3 for more"},
    {SNMP_ERR_INCONSISTENTNAME, "inconsistentName", "fcsNodeNameRowStatus",
     "the index is not a list and eight octets", "write a world-wide name of eight octets"},
    {SNMP_ERR_INCONSISTENTVALUE, "inconsistentValue", "fcsVsanDiscoverySpinLock",
     "another manager has moved the lock on since it was read", "read it again"},
    {SNMP_ERR_INCONSISTENTVALUE, "inconsistentValue", kRowStatuses,
     "the row is there already, or is created without its name or address, or the row status is "
     "another than 1, 4 and 6 (1 but for node names)",
     "delete the row first, or choose another index"},
    {SNMP_ERR_INCONSISTENTVALUE, "inconsistentValue", "fcsPlatformName fcsMgmtAddr",
     "the row is there already, or the request has no row status",
     "delete the row first and create it anew: names and addresses do not change"},
    {SNMP_ERR_INCONSISTENTVALUE, "inconsistentValue", kPlatformColumns,
     "there is no such platform, or not yet, or your role may not read it", "create it first"},
    {SNMP_ERR_NOTWRITABLE, "notWritable", kVsanLists,
     "the list names a VSAN that your role may not write", "leave it out"},
    {SNMP_ERR_NOTWRITABLE, "notWritable", "", "the object can only be read", kAskAdministrator},
    {SNMP_ERR_NOACCESS, "noAccess", "",
     "the agent's access control: not this user, or not this way", kAskAdministrator},
    {SNMP_ERR_AUTHORIZATIONERROR, "authorizationError", "",
     "the agent's access control: not this user, or not this way", kAskAdministrator},
    {SNMP_ERR_NOSUCHNAME, "noSuchName", "",
     "SNMPv1's word for no write access, as for no such object", kAskAdministrator},
    {SNMP_ERR_READONLY, "readOnly", "", "SNMPv1's word for an object that can only be read",
     kAskAdministrator},
    {SNMP_ERR_RESOURCEUNAVAILABLE, "resourceUnavailable", "",
     "too many rows of this user have failed, and stay with the agent",
     "delete rows of the same indexes, which has the agent forget them"},
    {SNMP_ERR_GENERR, "genErr", "fcsVsanDiscoveryTimeOut",
     "the FCS service refused the time-out or did not answer; the new value is kept all the same",
     "set it once more when the service answers"},
    {SNMP_ERR_GENERR, "genErr", "fcsPlatformRowStatus",
     "your role may not write the VSAN; or the FCS service has no such VSAN, or another platform "
     "of it with the name, or does not answer",
     "the agent's log says which; read the row before you try again"},
    {SNMP_ERR_GENERR, "genErr", "fcsNodeNameRowStatus",
     "the name is in another list already, or is not there to be deleted, or the FCS service does "
     "not answer",
     "the agent's log says which; read the row before you try again"},
    {SNMP_ERR_GENERR, "genErr", "",
     "your role may not write the VSAN, or the FCS service refuses the change or does not answer",
     "the agent's log says which; read the row before you try again"},
};

bool has_word(std::string_view words, std::string_view word) {
  size_t at = words.find(word);
  while (at != std::string_view::npos) {
    const size_t end = at + word.size();
    if ((at == 0 || words[at - 1] == ' ') && (end == words.size() || words[end] == ' ')) {
      return true;
    }
    at = words.find(word, end);
  }
  return false;
}

} // namespace

std::string explain(const Refused &refused) {
  const std::string_view name = refused.object == nullptr ? "" : refused.object->name;
  const std::string front = name.empty() ? "" : std::string(name) + ": ";
  const auto *const found = std::ranges::find_if(kRefusals, [&](const Refusal &refusal) {
    return refusal.status == refused.status &&
           (refusal.objects.empty() || has_word(refusal.objects, name));
  });
  if (found == std::end(kRefusals)) {
    return front + refused.what();
  }
  return front + std::string(found->name) + ": " + std::string(found->cause) + "; " +
         std::string(found->remedy);
}

void print_refusals(std::ostream &out) {
  out << "| status | of | what it means | what to do |\n|---|---|---|---|\n";
  for (const Refusal &refusal : kRefusals) {
    std::string objects(refusal.objects);
    for (size_t at = objects.find(' '); at != std::string::npos; at = objects.find(' ', at + 2)) {
      objects.insert(at, ",");
    }
    out << "| " << refusal.name << " | " << objects << " | " << refusal.cause << " | "
        << refusal.remedy << " |\n";
  }
}

} // namespace snmpfcs
