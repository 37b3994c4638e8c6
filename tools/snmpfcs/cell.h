/**
 * What stands in a row's column, for people and for programs.
 */
#pragma once

#include "mib.h"
#include "session.h"

#include <string>
#include <variant>
#include <vector>

namespace snmpfcs {

/** Nothing, a number, octets that are meant as text, or several of these. */
using Cell = std::variant<std::monostate, int64_t, double, std::string, std::vector<std::string>>;

/** The value of an object as people know it: words of enumerations, world-wide names in writing. */
Cell cell_of(const Object &object, const Value &value);

/** On one line; octets that are no UTF-8, and what cannot be shown, as \xhh. */
std::string text_of(const Cell &cell);

/** As JSON; octets that are no UTF-8 as {"hex": "..."}. */
std::string json_of(const Cell &cell);

/** How many columns of a terminal a text takes. */
size_t width_of(std::string_view text);
/** The text within `width` columns of a terminal: one that is longer is cut, and ends in a mark. */
std::string cut(std::string_view text, size_t width);

} // namespace snmpfcs
