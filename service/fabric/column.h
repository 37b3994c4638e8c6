/**
 * The terms in which a column of the fabric is described: its field of a row, and the member of a
 * fabric's description that tells it.
 */
#pragma once

#include "common/text/octets.h"
#include "fabric_terms.h"

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <span>
#include <string_view>

namespace fcs {

/** How a member tells what a column holds. */
enum class Form {
  kElsewhere, ///< Not at all: where the row stands in the document does, or code of its own.
  kNumber,
  kCode, ///< One of `terms`, or a number for which there is no word.
  kFlag,
  kWwn,
  kAddressId, ///< Hexadecimal octets without the first one, which is 0.
  kText,
};

/** A member of an object in a fabric's description. */
struct JsonMember {
  Form form;
  std::string_view name;
  uint32_t low = 0;
  uint32_t high = 0xFFFFFFFF; ///< Of a number; of the length of a text.
  const Terms *terms = nullptr;
  std::string_view lists = {}; ///< The document's member that has the list of this number.
  bool is_required = false;    ///< Without a member that is not, the row stays as it is.
  bool omits_zero = false;     ///< Zero is not written.
};

inline constexpr JsonMember kElsewhere{Form::kElsewhere, {}};

constexpr JsonMember as_number(std::string_view name, uint32_t low = 0,
                               uint32_t high = 0xFFFFFFFF) {
  return {Form::kNumber, name, low, high};
}
constexpr JsonMember as_code(std::string_view name, const Terms &terms) {
  return {Form::kCode, name, 0, 0xFFFFFFFF, &terms};
}
constexpr JsonMember as_text(std::string_view name, uint32_t max_length) {
  return {Form::kText, name, 0, max_length};
}
constexpr JsonMember required(JsonMember member) {
  member.is_required = true;
  return member;
}
constexpr JsonMember unless_zero(JsonMember member) {
  member.omits_zero = true;
  return member;
}

/** A text in a row. */
template <typename Octet> struct Text {
  Octet &length;
  std::span<Octet> room;

  Octets value() const { return room.first(length); }
  constexpr size_t size() const { return sizeof(length) + room.size(); }
};
template <typename Octet, size_t kRoom> Text(Octet &, Octet (&)[kRoom]) -> Text<Octet>;

/** Octets in a row that end with the last one that is not 0. */
template <typename Octet> struct Padded {
  std::span<Octet> room;

  Octets value() const {
    const auto last =
        std::find_if(room.rbegin(), room.rend(), [](uint8_t octet) { return octet != 0; });
    return room.first(static_cast<size_t>(room.rend() - last));
  }
  constexpr size_t size() const { return room.size(); }
};
template <typename Octet, size_t kRoom> Padded(Octet (&)[kRoom]) -> Padded<Octet>;

/** What a field holds: a word as an unsigned number, a real number, or octets. */
template <std::integral Word> uint32_t value_of(Word word) {
  return static_cast<uint32_t>(word);
}
inline double value_of(double real) {
  return real;
}
template <size_t kLength> Octets value_of(const uint8_t (&octets)[kLength]) {
  return octets;
}
template <typename Field> auto value_of(const Field &field) -> decltype(field.value()) {
  return field.value();
}

/** Has a field hold the value; octets for which there is no room are left out. */
template <std::integral Word> void set_value(Word &word, uint32_t value) {
  word = static_cast<Word>(value);
}
inline void set_value(double &real, double value) {
  real = value;
}
inline size_t set_value(std::span<uint8_t> room, Octets value) {
  const size_t length = std::min(value.size(), room.size());
  std::copy_n(value.begin(), length, room.begin());
  return length;
}
inline void set_value(const Text<uint8_t> &text, Octets value) {
  text.length = static_cast<uint8_t>(set_value(text.room, value));
}
inline void set_value(const Padded<uint8_t> &padded, Octets value) {
  set_value(padded.room, value);
}

} // namespace fcs
