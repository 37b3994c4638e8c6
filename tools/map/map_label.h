/**
 * Names as Graphviz's HTML-like labels show them.
 */
#pragma once

#include <string>
#include <string_view>

namespace fabric_map {

/**
 * A name as a label shows it exactly as it is, whatever its octets are: broken into lines, and cut
 * with an ellipsis after a few. Octets that are no UTF-8 and characters that cannot be shown become
 * [hh], their octets in hexadecimal.
 */
std::string label_name(std::string_view octets);

} // namespace fabric_map
