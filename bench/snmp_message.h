/**
 * SNMPv2c messages (RFC 1901, RFC 3416) in BER, as far as the benchmark's manager needs them. Names
 * stay in their encoded form: a walk repeats what it has received.
 */
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

using Octets = std::vector<uint8_t>;
using OctetView = std::span<const uint8_t>;

enum Tag : uint8_t {
  kInteger = 0x02,
  kOctetString = 0x04,
  kNull = 0x05,
  kObjectIdentifier = 0x06,
  kSequence = 0x30,
  kCounter32 = 0x41,
  kUnsigned32 = 0x42,
  kGetNext = 0xA1,
  kResponse = 0xA2,
  kSet = 0xA3,
  kGetBulk = 0xA5,
};

/** A variable binding; it refers to the message that it was read from. */
struct Binding {
  OctetView name; ///< Contents of the encoded object identifier.
  uint8_t type;   ///< Tag of the value; 0x80 to 0x82 are the exceptions of RFC 3416.
  OctetView value;
};

struct Request {
  Tag type;
  std::string community;
  int32_t id;
  int32_t max_repetitions; ///< Of a GETBULK, else 0.
};

struct Response {
  int32_t id = 0;
  int32_t error_status = 0;
  int32_t error_index = 0;
  std::vector<Binding> bindings;
};

/** Contents of the encoded form of "1.3.6...". \throws std::invalid_argument */
Octets encode_name(std::string_view text);

/** The text of an encoded name. \throws std::invalid_argument for an incomplete one. */
std::string name_text(OctetView name);

/** The whole message; non-repeaters, error status and error index are 0. */
Octets encode_request(const Request &request, std::span<const Binding> bindings);

/** Reads a response; its bindings refer to `message`. \throws std::invalid_argument */
void decode_response(OctetView message, Response &response);

/** The value of an INTEGER, Counter32 or Unsigned32. */
int64_t integer_value(const Binding &binding);

} // namespace bench
