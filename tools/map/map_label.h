/**
 * Names as Graphviz's HTML-like labels show them.
 */
#pragma once

#include <string>
#include <string_view>

namespace fcsctl {

/**
 * Text that a label shows exactly as it is, whatever its octets are. Octets that are no UTF-8 and
 * characters that cannot be shown become [hh], their octets in hexadecimal.
 */
std::string label_text(std::string_view octets);

/** The same for a name of any length: broken into lines, and cut with an ellipsis after a few. */
std::string label_name(std::string_view octets);

} // namespace fcsctl
