/**
 * Object identifiers and the indexes of instances.
 */
#pragma once

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace snmpfcs {

using Oid = std::vector<oid>;

/** The sub-identifiers of 1.3.6 or .1.3.6; nothing if the text is anything else. */
std::optional<Oid> read_oid(std::string_view text);
/** As 1.3.6. */
std::string oid_text(const Oid &id);

Oid operator+(Oid front, const Oid &back);
/** An index with a name of octets behind a number. */
Oid named_index(oid number, std::string_view octets);
/** The octets that the sub-identifiers from `from` on stand for. */
std::string octets_from(const Oid &index, size_t from);

} // namespace snmpfcs
