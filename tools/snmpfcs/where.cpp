#include "where.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <strings.h>

namespace snmpfcs {

namespace {

constexpr std::string_view kSigns[] = {"!=", "=", "~", "<", ">"};

std::optional<int64_t> number_in(const std::string &text) {
  int64_t number = 0;
  const char *const end = text.data() + text.size();
  const auto [stop, fault] = std::from_chars(text.data(), end, number);
  return fault == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

bool contains(const std::string &text, const std::string &part) {
  return strcasestr(text.c_str(), part.c_str()) != nullptr;
}

bool compares(const std::string &sign, const std::string &wanted, const std::string &text) {
  if (sign == "~") {
    return contains(text, wanted);
  }
  if (sign == "=") {
    return strcasecmp(text.c_str(), wanted.c_str()) == 0;
  }
  const auto number = number_in(text);
  const auto limit = number_in(wanted);
  return number && limit && (sign == "<" ? *number < *limit : *number > *limit);
}

} // namespace

bool Condition::holds(const Cell &cell) const {
  if (sign == "!=") {
    return !Condition{key, "=", wanted}.holds(cell);
  }
  if (const auto *const items = std::get_if<std::vector<std::string>>(&cell)) {
    return std::ranges::any_of(
               *items,
               [this](const std::string &item) { return compares(sign, wanted, text_of(item)); }) ||
           (sign == "=" && wanted.empty() && items->empty());
  }
  return compares(sign, wanted, text_of(cell));
}

Condition read_condition(const std::string &text) {
  size_t at = std::string::npos;
  std::string_view sign;
  for (const std::string_view candidate : kSigns) {
    const size_t found = text.find(candidate);
    if (found < at) {
      at = found;
      sign = candidate;
    }
  }
  if (at == std::string::npos || at == 0) {
    throw std::invalid_argument("\"" + text +
                                "\" is no condition such as state=offline: a column, one of = != ~ "
                                "< >, and what it is compared with");
  }
  Condition condition{text.substr(0, at), std::string(sign), text.substr(at + sign.size())};
  if ((sign == "<" || sign == ">") && !number_in(condition.wanted)) {
    throw std::invalid_argument("\"" + text + "\" compares with no number");
  }
  return condition;
}

} // namespace snmpfcs
