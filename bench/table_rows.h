/** Rows of tables, read from a file: what every agent in a comparison answers with. */
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace bench {

struct Value {
  u_char type;
  std::vector<u_char> octets; ///< As the agent library takes it: an integer is a long.
};

/** A row: its values by column. */
using Row = std::map<unsigned, Value>;

/** A table: its rows by their index. */
using Table = std::map<std::vector<oid>, Row>;

/**
 * Reads lines "TABLE.1.COLUMN.INDEX... TYPE VALUE": a decimal number, or octets in hexadecimal with
 * "-" for none.
 * \return the tables by their number.
 * \throws std::runtime_error naming the file, and the line that is wrong.
 */
std::map<unsigned, Table> read_tables(const std::string &path);

} // namespace bench
