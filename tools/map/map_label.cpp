#include "map_label.h"

#include "name_text.h"

namespace fabric_map {

namespace {

constexpr size_t kLineLength = 28;
constexpr size_t kShortLine = 20; ///< Long enough to end where a word does.
constexpr size_t kLines = 3;

bool can_break_before(std::string_view octets) {
  return std::string_view(" .-/").find(octets[0]) != std::string_view::npos;
}

/** A character as Graphviz takes it. */
std::string escape(const std::string &character) {
  switch (character[0]) {
  case '&': return "&amp;";
  case '<': return "&lt;";
  case '>': return "&gt;";
  case '"': return "&quot;";
  // Labels lose blanks at their ends, and may not consist of blanks alone.
  case ' ': return "&#160;";
  default: return character;
  }
}

} // namespace

std::string label_name(std::string_view octets) {
  std::string text;
  size_t line = 1;
  size_t column = 0;
  while (!octets.empty()) {
    if (column == kLineLength || (column >= kShortLine && can_break_before(octets))) {
      if (line++ == kLines) {
        return text + "&#8230;";
      }
      text += "<BR/>";
      column = 0;
    }
    text += escape(take_character(octets));
    ++column;
  }
  return text;
}

} // namespace fabric_map
