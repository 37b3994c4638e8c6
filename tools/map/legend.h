/**
 * What the colours of a map mean.
 */
#pragma once

#include <cstddef>
#include <string>

namespace fabric_map {

/** The legend as an HTML-like label, with so many colours at most beside each other. */
std::string legend(size_t columns);

} // namespace fabric_map
