#include "snmp_message.h"

#include <charconv>
#include <stdexcept>

namespace bench {

namespace {

constexpr int32_t kVersion2c = 1;

void append(Octets &target, OctetView octets) {
  target.insert(target.end(), octets.begin(), octets.end());
}

void append_element(Octets &target, uint8_t tag, OctetView contents) {
  const size_t length = contents.size();
  if (length > 0xFFFF) {
    throw std::invalid_argument("a message element is longer than 65535 octets");
  }
  target.push_back(tag);
  if (length < 0x80) {
    target.push_back(static_cast<uint8_t>(length));
  } else {
    target.push_back(0x82);
    target.push_back(static_cast<uint8_t>(length >> 8U));
    target.push_back(static_cast<uint8_t>(length));
  }
  append(target, contents);
}

void append_integer(Octets &target, int32_t value) {
  const auto bits = static_cast<uint32_t>(value);
  const uint8_t octets[] = {static_cast<uint8_t>(bits >> 24U), static_cast<uint8_t>(bits >> 16U),
                            static_cast<uint8_t>(bits >> 8U), static_cast<uint8_t>(bits)};
  append_element(target, kInteger, octets);
}

struct Element {
  uint8_t tag;
  OctetView contents;
};

uint8_t take_octet(OctetView &rest) {
  if (rest.empty()) {
    throw std::invalid_argument("a message ends too early");
  }
  const uint8_t octet = rest.front();
  rest = rest.subspan(1);
  return octet;
}

Element take_element(OctetView &rest) {
  const uint8_t tag = take_octet(rest);
  size_t length = take_octet(rest);
  if (length >= 0x80) {
    size_t octets = length & 0x7FU;
    for (length = 0; octets > 0; --octets) {
      length = length << 8U | take_octet(rest);
    }
  }
  if (length > rest.size()) {
    throw std::invalid_argument("an element is longer than its message");
  }
  const Element element{tag, rest.first(length)};
  rest = rest.subspan(length);
  return element;
}

OctetView take(OctetView &rest, Tag tag) {
  const Element element = take_element(rest);
  if (element.tag != tag) {
    throw std::invalid_argument("a message has an element of tag " + std::to_string(element.tag) +
                                " where one of tag " + std::to_string(tag) + " belongs");
  }
  return element.contents;
}

int64_t to_integer(OctetView contents) {
  int64_t value = !contents.empty() && contents.front() >= 0x80 ? -1 : 0;
  for (const uint8_t octet : contents) {
    value = static_cast<int64_t>(static_cast<uint64_t>(value) << 8U | octet);
  }
  return value;
}

int32_t take_integer(OctetView &rest) {
  return static_cast<int32_t>(to_integer(take(rest, kInteger)));
}

void append_sub_identifier(Octets &target, uint32_t value) {
  for (uint32_t shift = 28; shift > 0; shift -= 7) {
    if (value >> shift != 0) {
      target.push_back(static_cast<uint8_t>((value >> shift & 0x7FU) | 0x80U));
    }
  }
  target.push_back(value & 0x7FU);
}

std::vector<uint32_t> sub_identifiers(std::string_view text) {
  std::vector<uint32_t> result;
  const char *at = text.data();
  const char *const end = at + text.size();
  while (at != end) {
    uint32_t value = 0;
    const auto [behind, error] = std::from_chars(at, end, value);
    if (error != std::errc() || (behind != end && *behind != '.') || behind + 1 == end) {
      throw std::invalid_argument("'" + std::string(text) + "' is not an object identifier");
    }
    result.push_back(value);
    at = behind == end ? end : behind + 1;
  }
  return result;
}

} // namespace

Octets encode_name(std::string_view text) {
  const std::vector<uint32_t> numbers = sub_identifiers(text);
  if (numbers.size() < 2 || numbers[0] != 1) {
    throw std::invalid_argument("'" + std::string(text) + "' does not begin with 1, or is short");
  }
  Octets name;
  append_sub_identifier(name, 40 + numbers[1]);
  for (size_t i = 2; i < numbers.size(); ++i) {
    append_sub_identifier(name, numbers[i]);
  }
  return name;
}

std::string name_text(OctetView name) {
  std::string text;
  while (!name.empty()) {
    uint32_t value = 0;
    uint8_t octet = 0;
    do {
      octet = take_octet(name);
      value = value << 7U | (octet & 0x7FU);
    } while (octet >= 0x80);
    text += text.empty() ? "1." + std::to_string(value - 40) : "." + std::to_string(value);
  }
  return text;
}

Octets encode_request(const Request &request, std::span<const Binding> bindings) {
  Octets list;
  for (const Binding &binding : bindings) {
    Octets encoded;
    append_element(encoded, kObjectIdentifier, binding.name);
    append_element(encoded, binding.type, binding.value);
    append_element(list, kSequence, encoded);
  }
  Octets pdu;
  append_integer(pdu, request.id);
  append_integer(pdu, 0);
  append_integer(pdu, request.max_repetitions);
  append_element(pdu, kSequence, list);
  Octets body;
  append_integer(body, kVersion2c);
  append_element(
      body, kOctetString,
      {reinterpret_cast<const uint8_t *>(request.community.data()), request.community.size()});
  append_element(body, request.type, pdu);
  Octets message;
  append_element(message, kSequence, body);
  return message;
}

void decode_response(OctetView message, Response &response) {
  OctetView body = take(message, kSequence);
  (void)take_integer(body);
  (void)take(body, kOctetString);
  OctetView pdu = take(body, kResponse);
  response.id = take_integer(pdu);
  response.error_status = take_integer(pdu);
  response.error_index = take_integer(pdu);
  OctetView list = take(pdu, kSequence);
  response.bindings.clear();
  while (!list.empty()) {
    OctetView encoded = take(list, kSequence);
    const OctetView name = take(encoded, kObjectIdentifier);
    const Element value = take_element(encoded);
    response.bindings.push_back({name, value.tag, value.contents});
  }
}

int64_t integer_value(const Binding &binding) {
  return to_integer(binding.value);
}

} // namespace bench
