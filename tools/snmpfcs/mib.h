/**
 * The objects of the MIB module as a manager knows them.
 */
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace snmpfcs {

/** A name of an enumeration's value. */
struct Term {
  std::string_view word;
  int64_t value;
};
using Terms = std::span<const Term>;

enum class Syntax {
  kInteger,
  kUnsigned,
  kCounter,
  kTicks,
  kText,
  kOctets,     ///< Shown in hexadecimal.
  kWwn,        ///< Shown as 20:01:00:00:5e:00:53:01.
  kPortName,   ///< An attached port name, shown by the world-wide name that it begins with.
  kVsanBitmap, ///< One half of a list of VSANs.
};

enum class Access { kRead, kWrite };

struct Object {
  std::string_view place; ///< Behind the module root, as 1.1.15.1.2.
  std::string_view name;
  Syntax syntax;
  Access access;
  Terms terms = {}; ///< Of an enumeration.
};

extern const std::span<const Object> kObjects;

/** The object of a name that stands in the program. */
const Object &object(std::string_view name);

/** Whether a column is of a table with at most one row for each VSAN, found by the VSAN alone. */
bool is_indexed_by_vsan_alone(const Object &column);

/** The value that a word names, upper case or not, and the word for a value; nothing if there is
 * none. */
std::optional<int64_t> value_of(Terms terms, std::string_view word);
std::optional<std::string_view> word_of(Terms terms, int64_t value);

} // namespace snmpfcs
