#include "cell.h"

#include "common/text/octets.h"

#include <array>
#include <cstdio>
#include <cwchar>
#include <langinfo.h>
#include <nlohmann/json.hpp>

namespace snmpfcs {

namespace {

using nlohmann::json;

/** Length of the UTF-8 character at the front of a text that is not empty; 0 if there is none. */
size_t character_length(std::string_view text, wchar_t &character) {
  const auto first = static_cast<unsigned char>(text[0]);
  const size_t length = first < 0x80   ? 1
                        : first < 0xC2 ? 0
                        : first < 0xE0 ? 2
                        : first < 0xF0 ? 3
                                       : 4;
  if (length == 0 || length > text.size() || first > 0xF4) {
    return 0;
  }
  uint32_t code = length == 1 ? first : first & (0xFFU >> (length + 1));
  for (size_t i = 1; i < length; ++i) {
    const auto octet = static_cast<unsigned char>(text[i]);
    if ((octet & 0xC0) != 0x80) {
      return 0;
    }
    code = code << 6 | (octet & 0x3F);
  }
  constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  character = static_cast<wchar_t>(code);
  return code < kLeast[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000) ? 0 : length;
}

bool is_utf8(std::string_view text) {
  wchar_t character = 0;
  while (!text.empty()) {
    const size_t length = character_length(text, character);
    if (length == 0) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

/** Columns of a terminal; none for what a terminal of this locale cannot show. */
int shown_width(wchar_t character) {
  return character < 0x80 ? (character >= 0x20 && character != 0x7F ? 1 : -1) : wcwidth(character);
}

std::string printable(std::string_view text) {
  std::string shown;
  wchar_t character = 0;
  while (!text.empty()) {
    const size_t length = character_length(text, character);
    if (length > 0 && shown_width(character) > 0) {
      shown += text.substr(0, length);
    } else {
      const std::string_view octets = text.substr(0, std::max<size_t>(length, 1));
      shown += "\\x" + fcs::to_hex(fcs::octets_of(octets), "\\x");
    }
    text.remove_prefix(std::max<size_t>(length, 1));
  }
  return shown;
}

std::string json_text(const std::string &text) {
  if (!is_utf8(text)) {
    return json{{"hex", fcs::to_hex(fcs::octets_of(text), "")}}.dump();
  }
  return json(text).dump();
}

Cell octets_cell(Syntax syntax, const std::string &octets) {
  switch (syntax) {
  case Syntax::kWwn: return fcs::to_wwn(fcs::octets_of(octets));
  case Syntax::kPortName: return fcs::to_wwn(fcs::octets_of(octets.substr(0, 8)));
  case Syntax::kOctets: return fcs::to_hex(fcs::octets_of(octets), "");
  default: return octets;
  }
}

} // namespace

Cell cell_of(const Object &object, const Value &value) {
  if (const auto *const octets = std::get_if<std::string>(&value)) {
    return octets_cell(object.syntax, *octets);
  }
  if (const auto *const number = std::get_if<int64_t>(&value)) {
    const auto word = word_of(object.terms, *number);
    return word ? Cell(std::string(*word)) : Cell(*number);
  }
  return {};
}

std::string text_of(const Cell &cell) {
  if (const auto *const number = std::get_if<int64_t>(&cell)) {
    return std::to_string(*number);
  }
  if (const auto *const number = std::get_if<double>(&cell)) {
    std::array<char, 32> digits{};
    (void)std::snprintf(digits.data(), digits.size(), "%.1f", *number);
    return digits.data();
  }
  if (const auto *const text = std::get_if<std::string>(&cell)) {
    return printable(*text);
  }
  std::string list;
  if (const auto *const texts = std::get_if<std::vector<std::string>>(&cell)) {
    for (const std::string &text : *texts) {
      list += (list.empty() ? "" : " ") + printable(text);
    }
  }
  return list;
}

std::string json_of(const Cell &cell) {
  if (std::holds_alternative<int64_t>(cell) || std::holds_alternative<double>(cell)) {
    return text_of(cell);
  }
  if (const auto *const text = std::get_if<std::string>(&cell)) {
    return json_text(*text);
  }
  if (const auto *const texts = std::get_if<std::vector<std::string>>(&cell)) {
    std::string list;
    for (const std::string &text : *texts) {
      list += (list.empty() ? "" : ",") + json_text(text);
    }
    return "[" + list + "]";
  }
  return "null";
}

size_t width_of(std::string_view text) {
  size_t width = 0;
  wchar_t character = 0;
  while (!text.empty()) {
    const size_t length = character_length(text, character);
    width += length == 0 ? 1 : static_cast<size_t>(std::max(1, shown_width(character)));
    text.remove_prefix(std::max<size_t>(length, 1));
  }
  return width;
}

std::string cut(std::string_view text, size_t width) {
  if (width_of(text) <= width) {
    return std::string(text);
  }
  const bool has_ellipsis = std::string_view(nl_langinfo(CODESET)) == "UTF-8";
  size_t end = 0;
  wchar_t character = 0;
  while (end < text.size()) {
    const size_t length = std::max<size_t>(1, character_length(text.substr(end), character));
    if (width_of(text.substr(0, end + length)) + 1 > width) {
      break;
    }
    end += length;
  }
  return std::string(text.substr(0, end)) + (width == 0 ? "" : has_ellipsis ? "…" : "+");
}

} // namespace snmpfcs
