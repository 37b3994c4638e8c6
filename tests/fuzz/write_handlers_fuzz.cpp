/**
 * SETs of any objects, through the phases as the agent goes, with any OID, type, length and value,
 * whatever the service and the role answer.
 */
#include "fuzz_platform.h"

static Binding take_binding(FuzzInput &input) {
  constexpr u_char kTypes[] = {ASN_INTEGER,   ASN_OCTET_STR, ASN_UNSIGNED, ASN_OBJECT_ID,
                               ASN_IPADDRESS, ASN_COUNTER64, ASN_NULL,     ASN_OPAQUE};
  constexpr size_t kLongestValue = 2000;
  constexpr uint8_t kLongValue = 255;
  const variable &object = take_object(input);
  Name name = take_name(input, object, object.namelen); // The agent has found the object by it.
  const uint8_t other_type = input.octet();
  const u_char type =
      other_type < 224 ? static_cast<u_char>(object.type) : kTypes[other_type % std::size(kTypes)];
  const uint8_t short_length = input.octet();
  const size_t length = short_length == kLongValue ? input.up_to(kLongestValue) : short_length;
  return {object, std::move(name), type, input.octets(length)};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *octets, size_t length) {
  constexpr size_t kMostSets = 4;
  constexpr int kMostBindings = 4;
  FuzzInput input(octets, length);
  start_module(input);
  std::vector<std::vector<Binding>> sets;
  while (sets.size() < kMostSets && !input.empty()) {
    std::vector<Binding> &set = sets.emplace_back();
    for (int i = 1 + input.octet() % kMostBindings; i > 0; --i) {
      set.push_back(take_binding(input));
    }
    write_set(set);
  }
  // Rows that a failed ACTION has left pending go with the next SET that fails.
  for (std::vector<Binding> &set : sets) {
    for (Binding &binding : set) {
      binding.write(FREE);
    }
  }
  require(pending_rows() == 0, "no row stays behind");
  return 0;
}
