/**
 * Checked reading of JSON values: whatever is not as it must be is refused with its place.
 */
#pragma once

#include "common/text/octets.h"
#include "service/fabric/fabric_terms.h"

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

namespace fcs {

/** A fault in a description: its place and what is wrong, on one line. */
class DescriptionFault : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/**
 * Where a value stands in its document. A chain of parents, so that a text is made only when
 * something has to be refused; a parent has to outlive its children.
 */
class Place {
public:
  Place(const Place *parent, std::string_view member) : parent_(parent), member_(member) {}
  Place(const Place *parent, size_t index) : parent_(parent), index_(index) {}

  /** As vsans[1].elements[3].domainId. */
  std::string text() const;

private:
  const Place *parent_;
  std::string_view member_;
  size_t index_ = 0;
};

/** Throws DescriptionFault. */
[[noreturn]] void refuse(const Place &place, const std::string &fault);

/** The name of a member of the document itself, as name, or ["odd name"]. */
std::string root_member(std::string_view name);

/** A member's name after its parent, as .name, or ["odd name"]. */
std::string member_suffix(std::string_view name);

/** A value as an error shows it: on one line and not too long. */
std::string show(const nlohmann::json &value);

/** The number, text and so on that `value` has to be. Each throws DescriptionFault if it is not. */
uint32_t read_number(const nlohmann::json &value, const Place &place, uint32_t low, uint32_t high);
double read_real(const nlohmann::json &value, const Place &place, double low, double high);
bool read_flag(const nlohmann::json &value, const Place &place);
/** A string, whose octets count, or {"hex": "..."} for octets that are no text. */
std::string read_octets(const nlohmann::json &value, const Place &place, size_t max_length);
/** A string of hexadecimal octets that fills `octets`. */
void read_hex(const nlohmann::json &value, const Place &place, std::span<uint8_t> octets);
/** A word of `terms`. */
uint32_t read_word(const nlohmann::json &value, const Place &place, Terms terms);
/** A word of `terms`, or any code as a number. */
uint32_t read_code(const nlohmann::json &value, const Place &place, Terms terms);

/** An object all of whose members are known. */
class ObjectReader {
public:
  /** Refuses what is not an object and members that are not in `members`. */
  ObjectReader(const nlohmann::json &value, const Place &place,
               std::span<const std::string_view> members);
  ObjectReader(const nlohmann::json &value, const Place &place,
               std::initializer_list<std::string_view> members)
      : ObjectReader(value, place, std::span(members.begin(), members.size())) {}

  const Place &place() const { return place_; }
  Place at(std::string_view member) const { return {&place_, member}; }
  /** The member's value, or null when it is absent. */
  const nlohmann::json *find(std::string_view member) const;
  const nlohmann::json &required(std::string_view member) const;

  /** What `read` makes of the member: read(value, place, arguments...). Refuses its absence. */
  template <typename Read, typename... Arguments>
  auto get(std::string_view member, Read read, const Arguments &...arguments) const {
    return read(required(member), at(member), arguments...);
  }
  /** Likewise, or `absent` when the member is absent. */
  template <typename Read, typename Value, typename... Arguments>
  Value get_or(const Value &absent, std::string_view member, Read read,
               const Arguments &...arguments) const {
    const nlohmann::json *value = find(member);
    return value == nullptr ? absent : Value(read(*value, at(member), arguments...));
  }
  /** Calls visit(item, place) for each item of an array; an absent member has none. */
  template <typename Visit> void each(std::string_view member, Visit visit) const {
    const nlohmann::json *array = find(member);
    if (array == nullptr) {
      return;
    }
    const Place array_place = at(member);
    check_array(*array, array_place);
    for (size_t i = 0; i < array->size(); ++i) {
      visit((*array)[i], Place(&array_place, i));
    }
  }

private:
  static void check_array(const nlohmann::json &value, const Place &place);

  const nlohmann::json &value_;
  const Place &place_;
};

} // namespace fcs
