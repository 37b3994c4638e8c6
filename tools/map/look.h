/**
 * The colours of a map.
 */
#pragma once

#include <span>
#include <string_view>

namespace fabric_map {

/** How what has this word is shown: its colour, and that of a text on it. */
struct Look {
  std::string_view word;
  const char *fill;
  const char *text;
};

/** Of ports and links, by their state; the later ones are the worse ones. */
extern const std::span<const Look> kStateLooks;
extern const std::span<const Look> kElementLooks;
extern const std::span<const Look> kDeviceLooks;

const Look &look_of_state(std::string_view state);
const Look &look_of_element(std::string_view type);
const Look &look_of_platform(std::string_view type);
/** Of a device that belongs to no platform. */
const Look &look_of_stranger();

bool is_online(const Look &state);

} // namespace fabric_map
