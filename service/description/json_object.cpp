#include "json_object.h"

#include <algorithm>
#include <cctype>

namespace fcs {

using nlohmann::json;

namespace {

[[noreturn]] void refuse_type(const json &value, const Place &place, const char *wanted) {
  refuse(place, std::string("must be ") + wanted + ", not " + show(value));
}

const std::string &string_of(const json &value, const Place &place, const char *wanted) {
  if (!value.is_string()) {
    refuse_type(value, place, wanted);
  }
  return value.get_ref<const std::string &>();
}

std::string number_text(double number) {
  return json(number).dump();
}

} // namespace

std::string root_member(std::string_view name) {
  const bool plain = !name.empty() && std::ranges::all_of(name, [](unsigned char letter) {
    return std::isalnum(letter) != 0 || letter == '_';
  });
  return plain ? std::string(name) : "[" + show(json(name)) + "]";
}

std::string member_suffix(std::string_view name) {
  const std::string member = root_member(name);
  return member.starts_with('[') ? member : "." + member;
}

std::string Place::text() const {
  const std::string own = member_.data() == nullptr ? "[" + std::to_string(index_) + "]"
                          : parent_ == nullptr      ? root_member(member_)
                                                    : member_suffix(member_);
  return parent_ == nullptr ? own : parent_->text() + own;
}

void refuse(const Place &place, const std::string &fault) {
  throw DescriptionFault(place.text() + ": " + fault);
}

std::string show(const json &value) {
  if (value.is_object()) {
    return "an object";
  }
  if (value.is_array()) {
    return "an array";
  }
  constexpr size_t kLongest = 60;
  std::string text = value.dump(-1, ' ', true);
  if (text.size() > kLongest) {
    text.replace(kLongest - 4, std::string::npos, "...\"");
  }
  return text;
}

uint32_t read_number(const json &value, const Place &place, uint32_t low, uint32_t high) {
  if (!value.is_number()) {
    refuse_type(value, place, "a number");
  }
  if (!value.is_number_integer()) {
    refuse_type(value, place, "a whole number");
  }
  // Every negative number is stored as signed, every other one as unsigned.
  if (!value.is_number_unsigned() || value.get<uint64_t>() < low || value.get<uint64_t>() > high) {
    refuse(place,
           value.dump() + " is not within " + std::to_string(low) + " to " + std::to_string(high));
  }
  return value.get<uint32_t>();
}

double read_real(const json &value, const Place &place, double low, double high) {
  if (!value.is_number()) {
    refuse_type(value, place, "a number");
  }
  const double number = value.get<double>();
  if (!(number >= low && number <= high)) {
    refuse(place, value.dump() + " is not within " + number_text(low) + " to " + number_text(high));
  }
  return number;
}

bool read_flag(const json &value, const Place &place) {
  if (!value.is_boolean()) {
    refuse_type(value, place, "true or false");
  }
  return value.get<bool>();
}

std::string read_octets(const json &value, const Place &place, size_t max_length) {
  std::string octets;
  if (value.is_object()) {
    const ObjectReader object(value, place, {"hex"});
    const std::string &text = string_of(object.required("hex"), object.at("hex"), "a string");
    const auto hex = from_hex(text);
    if (!hex) {
      refuse(object.at("hex"), show(text) + " is not a string of hexadecimal octets");
    }
    octets = *hex;
  } else {
    octets = string_of(value, place, "a string or {\"hex\": \"...\"}");
  }
  if (octets.size() > max_length) {
    refuse(place,
           std::to_string(octets.size()) + " octets are more than " + std::to_string(max_length));
  }
  return octets;
}

void read_hex(const json &value, const Place &place, std::span<uint8_t> octets) {
  const std::string &text = string_of(value, place, "a string");
  const auto hex = from_hex(text);
  if (!hex || hex->size() != octets.size()) {
    refuse(place,
           show(value) + " is not " + std::to_string(octets.size()) + " octets in hexadecimal");
  }
  std::ranges::copy(octets_of(*hex), octets.begin());
}

uint32_t read_word(const json &value, const Place &place, Terms terms) {
  const auto code = code_of(terms, string_of(value, place, "a string"));
  if (!code) {
    refuse(place, show(value) + " is none of " + list_words(terms));
  }
  return *code;
}

uint32_t read_code(const json &value, const Place &place, Terms terms) {
  if (value.is_number()) {
    return read_number(value, place, 0, 0xFFFFFFFF);
  }
  if (!value.is_string()) {
    refuse_type(value, place, "a string or a number");
  }
  return read_word(value, place, terms);
}

ObjectReader::ObjectReader(const json &value, const Place &place,
                           std::span<const std::string_view> members)
    : value_(value), place_(place) {
  if (!value.is_object()) {
    refuse_type(value, place, "an object");
  }
  for (auto member = value.begin(); member != value.end(); ++member) {
    if (std::ranges::find(members, std::string_view(member.key())) == members.end()) {
      refuse(at(member.key()), "unknown member");
    }
  }
}

const json *ObjectReader::find(std::string_view member) const {
  const auto found = value_.find(member);
  return found == value_.end() ? nullptr : &*found;
}

const json &ObjectReader::required(std::string_view member) const {
  const json *value = find(member);
  if (value == nullptr) {
    refuse(place_, "the member \"" + std::string(member) + "\" is missing");
  }
  return *value;
}

void ObjectReader::check_array(const json &value, const Place &place) {
  if (!value.is_array()) {
    refuse_type(value, place, "an array");
  }
}

} // namespace fcs
