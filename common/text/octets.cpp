#include "octets.h"

namespace fcs {

namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

int digit_value(char digit) {
  const char lower = digit >= 'A' && digit <= 'F' ? static_cast<char>(digit - 'A' + 'a') : digit;
  const size_t value = kDigits.find(lower);
  return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

} // namespace

std::string to_hex(Octets octets, std::string_view separator) {
  std::string text;
  text.reserve(octets.size() * (2 + separator.size()));
  for (const uint8_t octet : octets) {
    if (!text.empty()) {
      text += separator;
    }
    text += kDigits[octet >> 4];
    text += kDigits[octet & 0xF];
  }
  return text;
}

std::optional<std::string> from_hex(std::string_view text) {
  std::string octets;
  const size_t stride = text.size() > 2 && text[2] == ':' ? 3 : 2;
  if ((text.size() + stride - 2) % stride != 0) {
    return std::nullopt;
  }
  for (size_t at = 0; at < text.size(); at += stride) {
    const int high = digit_value(text[at]);
    const int low = digit_value(text[at + 1]);
    const bool separated = stride == 2 || at + 2 == text.size() || text[at + 2] == ':';
    if (high < 0 || low < 0 || !separated) {
      return std::nullopt;
    }
    octets += static_cast<char>(high * 16 + low);
  }
  return octets;
}

} // namespace fcs
