/**
 * Where a subcommand writes what it makes.
 */
#pragma once

#include <functional>
#include <ostream>
#include <string>

namespace cli {

/** Writes a line to standard output at once. Throws std::runtime_error when it cannot. */
void print_line(const std::string &line);

/**
 * Writes what `write` makes to the file at `path`, - for standard output. A file that is there
 * stays as it was until the new one is whole, and when anything fails. Throws std::runtime_error
 * naming the file that cannot be written; what `write` throws passes.
 */
void write_output(const std::string &path, const std::function<void(std::ostream &)> &write);

} // namespace cli
