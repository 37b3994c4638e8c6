#include "name_text.h"

#include <cstdint>

namespace fabric_map {

namespace {

/** Length of the UTF-8 sequence that begins the octets; 0 when they begin with none. */
size_t sequence_length(std::string_view octets) {
  const auto at = [octets](size_t i) {
    return i < octets.size() ? static_cast<uint8_t>(octets[i]) : uint8_t{0};
  };
  const uint8_t first = at(0);
  const size_t length = first < 0x80                    ? 1
                        : first >= 0xC2 && first < 0xE0 ? 2
                        : first >= 0xE0 && first < 0xF0 ? 3
                        : first >= 0xF0 && first < 0xF5 ? 4
                                                        : 0;
  for (size_t i = 1; i < length; ++i) {
    if ((at(i) & 0xC0) != 0x80) {
      return 0;
    }
  }
  // Overlong forms, surrogates, and what lies beyond the last code point.
  const bool wrong = (first == 0xE0 && at(1) < 0xA0) || (first == 0xED && at(1) > 0x9F) ||
                     (first == 0xF0 && at(1) < 0x90) || (first == 0xF4 && at(1) > 0x8F);
  return wrong ? 0 : length;
}

/** Controls, and the two characters of the base plane that XML forbids. */
bool is_unprintable(std::string_view character) {
  const auto first = static_cast<uint8_t>(character[0]);
  return first < 0x20 || first == 0x7F || (character.size() == 2 && character < "\xC2\xA0") ||
         character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF";
}

std::string in_brackets(std::string_view octets) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text = "[";
  for (const char octet : octets) {
    const auto value = static_cast<uint8_t>(octet);
    text += {kDigits[value >> 4], kDigits[value & 0xF]};
  }
  return text + "]";
}

} // namespace

std::string take_character(std::string_view &octets) {
  const size_t length = sequence_length(octets);
  const std::string_view character = octets.substr(0, length == 0 ? 1 : length);
  octets.remove_prefix(character.size());
  return length == 0 || is_unprintable(character) ? in_brackets(character) : std::string(character);
}

std::string name_text(std::string_view octets) {
  std::string text;
  while (!octets.empty()) {
    text += take_character(octets);
  }
  return text;
}

} // namespace fabric_map
