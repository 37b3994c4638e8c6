#include "ipc_wire.h"

#include <cstring>

namespace ipc_wire {

namespace {

/** The part of the two greetings that both ends check alike. */
std::string common_fault(const char (&magic)[8], uint32_t byte_order, uint32_t version) {
  if (std::memcmp(magic, kMagic, sizeof(magic)) != 0) {
    return "the other end does not speak the FCS messaging protocol";
  }
  if (byte_order != kByteOrderMark) {
    return "the other end runs with another byte order";
  }
  if (version != kVersion) {
    return "protocol version mismatch: this end speaks " + std::to_string(kVersion) +
           ", the other end " + std::to_string(version);
  }
  return {};
}

} // namespace

Greeting greeting_for(Purpose purpose) {
  Greeting greeting{};
  std::memcpy(greeting.magic, kMagic, sizeof(kMagic));
  greeting.byte_order = kByteOrderMark;
  greeting.version = kVersion;
  greeting.purpose = purpose;
  return greeting;
}

std::string greeting_fault(const void *message, size_t length) {
  Greeting greeting{};
  if (length != sizeof(greeting)) {
    return "greeting of " + std::to_string(length) + " octets instead of " +
           std::to_string(sizeof(greeting));
  }
  std::memcpy(&greeting, message, sizeof(greeting));
  std::string fault = common_fault(greeting.magic, greeting.byte_order, greeting.version);
  if (fault.empty() && (greeting.purpose < kExchange || greeting.purpose > kControl)) {
    fault = "unknown purpose " + std::to_string(greeting.purpose);
  }
  return fault;
}

GreetingReply reply_to_greeting(std::string_view fault) {
  GreetingReply reply{};
  std::memcpy(reply.magic, kMagic, sizeof(kMagic));
  reply.byte_order = kByteOrderMark;
  reply.version = kVersion;
  reply.accepted = fault.empty() ? 1 : 0;
  fault.copy(reply.reason, sizeof(reply.reason) - 1);
  return reply;
}

std::string greeting_reply_fault(const void *message, size_t length) {
  GreetingReply reply{};
  if (length != sizeof(reply)) {
    return "greeting reply of " + std::to_string(length) + " octets instead of " +
           std::to_string(sizeof(reply));
  }
  std::memcpy(&reply, message, sizeof(reply));
  // A refusal's own words say more than what can be told from the numbers.
  if (std::memcmp(reply.magic, kMagic, sizeof(kMagic)) == 0 && reply.accepted == 0) {
    return "refused: " + std::string(reply.reason, strnlen(reply.reason, sizeof(reply.reason)));
  }
  return common_fault(reply.magic, reply.byte_order, reply.version);
}

} // namespace ipc_wire
