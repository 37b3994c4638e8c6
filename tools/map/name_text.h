/**
 * Names, whatever their octets are, as text that can be shown. Octets that are no UTF-8 and
 * characters that cannot be shown become [hh], their octets in hexadecimal.
 */
#pragma once

#include <string>
#include <string_view>

namespace fabric_map {

/** Takes the first character from `octets`, of which there is one at least: UTF-8 or [hh]. */
std::string take_character(std::string_view &octets);

std::string name_text(std::string_view octets);

} // namespace fabric_map
