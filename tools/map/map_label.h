/**
 * Names as Graphviz's HTML-like labels show them.
 */
#pragma once

#include <string>
#include <string_view>

namespace fabric_map {

/**
 * A name's text (name_text.h) as a label shows it exactly as it is: broken into lines, and cut with
 * an ellipsis after a few.
 */
std::string label_name(std::string_view octets);

} // namespace fabric_map
