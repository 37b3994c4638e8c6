#include "roles.h"

#include "common/text/vsan_range.h"
#include "platform/agent_host.h"
#include "platform/linux/request/agent_request.h"
#include "platform/role.h"

#include <map>
#include <sstream>
#include <vector>

namespace {

struct Role {
  VsanBitmap readable{VSAN_WHOLE_BYTES, {}};
  VsanBitmap writable{VSAN_WHOLE_BYTES, {}};
  std::string read_list = "none";
  std::string write_list = "none";
};

struct Roles {
  bool configured = false;
  std::map<std::string, Role> by_name;
  std::map<std::string, std::string> role_of_user;
};

Roles roles;

std::vector<std::string> words_of(const char *arguments) {
  std::istringstream stream(arguments);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

void set_range(const fcs::VsanRange &range, VsanBitmap &vsans) {
  for (uint32_t vsan = range.first; vsan <= range.last; ++vsan) {
    bitmap_set_bit(&vsans, static_cast<int32_t>(vsan));
  }
}

/** Adds a VSAN list to `vsans`. \return the fault; `vsans` then holds a part of the list. */
std::string parse_list(const std::string &list, VsanBitmap &vsans) {
  if (list == "none") {
    return {};
  }
  if (list == "all") {
    set_range({1, kLastRoleVsan}, vsans);
    return {};
  }
  std::istringstream stream(list);
  for (std::string item; std::getline(stream, item, ',');) {
    const auto range = fcs::read_vsan_range(item, kLastRoleVsan);
    if (!range || range->first > range->last) {
      std::ostringstream fault;
      fault << "VSAN list '" << list << "': '" << item
            << "' is not a VSAN or an ascending range within 1 to " << kLastRoleVsan;
      return fault.str();
    }
    set_range(*range, vsans);
  }
  return list.back() == ',' ? "VSAN list '" + list + "': ends with a comma" : "";
}

/** Says once for each request whom it is from and what that user may access. */
void tell_role(const char *name, const Role &role) {
  static long told;
  if (told != agent_request_number()) {
    told = agent_request_number();
    DEBUGMSGTL((kRequestToken, "user '%s', role '%s': reads VSANs %s, writes %s\n",
                agent_session_user(0), name, role.read_list.c_str(), role.write_list.c_str()));
  }
}

/** The role of the user being served; one without any VSAN when the user has none. */
const Role &role_of_current_user() {
  static const Role no_role;
  const auto user = roles.role_of_user.find(agent_session_user(0));
  const bool has_role = user != roles.role_of_user.end();
  const auto entry = has_role ? roles.by_name.find(user->second) : roles.by_name.end();
  const Role &role = entry == roles.by_name.end() ? no_role : entry->second;
  tell_role(has_role ? user->second.c_str() : "", role);
  return role;
}

} // namespace

std::string roles_define(const char *arguments) {
  roles.configured = true;
  const std::vector<std::string> words = words_of(arguments);
  if (words.size() != 3) {
    return "expected NAME READ-LIST WRITE-LIST";
  }
  const auto [entry, is_new] = roles.by_name.try_emplace(words[0]);
  if (!is_new) {
    entry->second = Role();
    return "role '" + words[0] + "' is defined already";
  }
  Role role;
  role.read_list = words[1];
  role.write_list = words[2];
  for (const auto &[list, vsans] :
       {std::pair(role.read_list, &role.readable), std::pair(role.write_list, &role.writable)}) {
    if (std::string fault = parse_list(list, *vsans); !fault.empty()) {
      return fault;
    }
  }
  entry->second = role;
  return {};
}

std::string roles_assign(const char *arguments) {
  roles.configured = true;
  const std::vector<std::string> words = words_of(arguments);
  if (words.size() != 2) {
    return "expected SECURITY-NAME ROLE";
  }
  if (roles.by_name.count(words[1]) == 0) {
    return "role '" + words[1] + "' is not defined above this line";
  }
  const auto [entry, is_new] = roles.role_of_user.try_emplace(words[0], words[1]);
  if (!is_new) {
    entry->second.clear();
    return "user '" + words[0] + "' has a role already";
  }
  return {};
}

bool roles_are_configured() {
  return roles.configured;
}

bool roles_know(const std::string &user) {
  return roles.role_of_user.count(user) != 0;
}

void roles_reset() {
  roles = Roles();
}

int role_allowed_vsans(VsanBitmap *allowed, const oid * /*name*/, size_t /*name_length*/,
                       int access) {
  if (!roles.configured) {
    return 0;
  }
  const Role &role = role_of_current_user();
  bitmap_copy(allowed, access == ROLE_ACCESS_WRITE ? &role.writable : &role.readable);
  return 1;
}

int role_allowed_vsans_from_list(const VsanBitmap *list, VsanBitmap *allowed, const oid *name,
                                 size_t name_length, int access) {
  bitmap_copy(allowed, list);
  VsanBitmap role_vsans{VSAN_WHOLE_BYTES, {}};
  if (role_allowed_vsans(&role_vsans, name, name_length, access) != 0) {
    if (*agent_session_user(0) == '\0') {
      return -1;
    }
    VsanBitmap hidden = *list;
    bitmap_subtract(&hidden, &role_vsans);
    bitmap_subtract(allowed, &hidden);
  }
  return 0;
}

int role_vsan_bitmap_allowed(const VsanBitmap *vsans, const oid *name, size_t name_length,
                             int access) {
  VsanBitmap allowed{VSAN_WHOLE_BYTES, {}};
  if (role_allowed_vsans(&allowed, name, name_length, access) == 0) {
    return 1;
  }
  VsanBitmap refused = *vsans;
  bitmap_subtract(&refused, &allowed);
  return bitmap_first_bit(&refused) < 0 ? 1 : 0;
}

int role_vsan_allowed(uint32_t vsan, VsanBitmap allowed) {
  return vsan <= kLastRoleVsan && bitmap_next_bit(&allowed, static_cast<int32_t>(vsan) - 1) ==
                                      static_cast<int32_t>(vsan)
             ? 1
             : 0;
}

int role_next_allowed_vsan(uint32_t *vsan, VsanBitmap allowed) {
  const int32_t next =
      *vsan > kLastRoleVsan ? -1 : bitmap_next_bit(&allowed, static_cast<int32_t>(*vsan));
  if (next < 0) {
    return 0;
  }
  *vsan = static_cast<uint32_t>(next);
  return 1;
}
