/**
 * Octet strings and their written form.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace fcs {

/** Octets that somebody else owns. */
using Octets = std::span<const uint8_t>;

/** The octets of a text, which has to outlive the result. */
inline Octets octets_of(std::string_view text) {
  return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

/** The octets as a text of the same length. */
inline std::string_view text_of(Octets octets) {
  return {reinterpret_cast<const char *>(octets.data()), octets.size()};
}

/** Two lower-case hexadecimal digits an octet, with `separator` between octets. */
std::string to_hex(Octets octets, std::string_view separator);

/** A name as people write it: hexadecimal octets with colons, as 20:01:00:00:5e:00:53:01. */
inline std::string to_wwn(Octets octets) {
  return to_hex(octets, ":");
}

/**
 * The octets that `text` writes as pairs of hexadecimal digits, either all of them separated by a
 * colon or none; nothing if it is anything else.
 */
std::optional<std::string> from_hex(std::string_view text);

} // namespace fcs
