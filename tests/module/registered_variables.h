/** What the module registers, for tests that stand in front of the agent library's registration. */
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

/** The variables of a call of register_mib, with whole names. */
inline std::vector<variable> registered_variables(const variable *variables, size_t size,
                                                  size_t count, const oid *root,
                                                  size_t root_length) {
  std::vector<variable> whole(count);
  for (size_t i = 0; i < count; ++i) {
    const auto *entry = reinterpret_cast<const variable7 *>(
        reinterpret_cast<const uint8_t *>(variables) + i * size);
    whole[i].magic = entry->magic;
    whole[i].type = static_cast<char>(entry->type);
    whole[i].acl = entry->acl;
    whole[i].findVar = entry->findVar;
    whole[i].namelen = static_cast<u_char>(root_length + entry->namelen);
    std::copy_n(root, root_length, whole[i].name);
    std::copy_n(entry->name, entry->namelen, whole[i].name + root_length);
  }
  return whole;
}
