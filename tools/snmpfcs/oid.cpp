#include "oid.h"

#include <charconv>

namespace snmpfcs {

std::optional<Oid> read_oid(std::string_view text) {
  Oid id;
  const char *at = text.data();
  const char *const end = at + text.size();
  if (at != end && *at == '.') {
    ++at;
  }
  for (;;) {
    uint32_t number = 0;
    const auto [stop, fault] = std::from_chars(at, end, number);
    if (fault != std::errc() || id.size() == MAX_OID_LEN) {
      return std::nullopt;
    }
    id.push_back(number);
    if (stop == end) {
      return id;
    }
    if (*stop != '.') {
      return std::nullopt;
    }
    at = stop + 1;
  }
}

std::string oid_text(const Oid &id) {
  std::string text;
  for (const oid number : id) {
    text += (text.empty() ? "" : ".") + std::to_string(number);
  }
  return text;
}

Oid operator+(Oid front, const Oid &back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

Oid named_index(oid number, std::string_view octets) {
  Oid index{number};
  for (const char octet : octets) {
    index.push_back(static_cast<unsigned char>(octet));
  }
  return index;
}

std::string octets_from(const Oid &index, size_t from) {
  std::string octets;
  for (size_t i = from; i < index.size(); ++i) {
    octets += static_cast<char>(index[i]);
  }
  return octets;
}

} // namespace snmpfcs
