/** Tables in an agent's own memory, served with the agent library's helper for that. */
#pragma once

#include <string>

namespace bench {

/**
 * Registers the tables of a row file (see table_rows.h) below a root, table N at ROOT.N.
 * \param root sub-identifiers, such as "1.3.6.1.4.1.32473.2".
 * \throws std::runtime_error when the file is wrong or the agent library refuses.
 */
void register_memory_tables(const std::string &root, const std::string &rows_path);

} // namespace bench
