/**
 * What surrounds the data of a page, from tools/map/page; made by cmake/map_page.cmake.
 */
#pragma once

#include <string_view>

namespace fabric_map {

extern const std::string_view kPageBegin;
extern const std::string_view kPageEnd;

} // namespace fabric_map
