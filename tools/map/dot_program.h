/**
 * Graphviz's program dot.
 */
#pragma once

#include <ostream>
#include <string>

namespace fabric_map {

/**
 * Draws a graph.
 * \param graph the file that holds it.
 * \param format as dot's option -T takes it.
 * Throws std::runtime_error when there is no dot or it fails.
 */
void run_dot(const std::string &graph, const std::string &format, std::ostream &out);

} // namespace fabric_map
