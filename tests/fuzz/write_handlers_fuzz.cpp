/**
 * SETs of any objects, through the phases as the agent goes, with any OID, type, length and value,
 * whatever the service and the role answer.
 */
#include "fuzz_platform.h"

#include <memory>

namespace {

/** A binding of a SET. Its value has as much room as the agent gives it, and no octet more. */
struct Binding {
  explicit Binding(FuzzInput &input) : object(take_object(input)) {
    constexpr u_char kTypes[] = {ASN_INTEGER,   ASN_OCTET_STR, ASN_UNSIGNED, ASN_OBJECT_ID,
                                 ASN_IPADDRESS, ASN_COUNTER64, ASN_NULL,     ASN_OPAQUE};
    constexpr size_t kLongestValue = 2000;
    constexpr uint8_t kLongValue = 255;
    name = take_name(input, object, object.namelen); // The agent has found the object by it.
    const uint8_t other_type = input.octet();
    type = other_type < 224 ? static_cast<u_char>(object.type)
                            : kTypes[other_type % std::size(kTypes)];
    const uint8_t short_length = input.octet();
    length = short_length == kLongValue ? input.up_to(kLongestValue) : short_length;
    const std::vector<uint8_t> octets = input.octets(length);
    // The agent has numbers in a long, and even a text of no octets somewhere.
    value.reset(new u_char[type == ASN_OCTET_STR ? length : std::max(length, sizeof(long))]());
    std::copy(octets.begin(), octets.end(), value.get());
  }

  void read() {
    Name found = name;
    const Reading reading = read_object(object, found, true);
    write_method = reading.write_method;
    current = reading.value;
  }

  int write(int phase) {
    return write_method == nullptr ? SNMP_ERR_NOTWRITABLE
                                   : write_method(phase, value.get(), type, length, current,
                                                  name.room.data(), name.length);
  }

  const variable &object;
  Name name;
  u_char type;
  size_t length;
  std::unique_ptr<u_char[]> value;
  WriteMethod *write_method = nullptr;
  u_char *current = nullptr;
};

using Set = std::vector<std::unique_ptr<Binding>>;

/** \return whether no binding failed. */
bool run(const Set &set, int phase) {
  bool done = true;
  for (const auto &binding : set) {
    if (phase == RESERVE1) {
      binding->read();
    }
    const int status = binding->write(phase);
    require(status >= SNMP_ERR_NOERROR && status <= MAX_SNMP_ERR, "a status is one of SNMP's");
    done = done && status == SNMP_ERR_NOERROR;
  }
  return done;
}

void run(const Set &set) {
  if (!run(set, RESERVE1) || !run(set, RESERVE2)) {
    run(set, FREE);
  } else if (!run(set, ACTION)) {
    run(set, UNDO);
  } else {
    run(set, COMMIT);
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *octets, size_t length) {
  constexpr size_t kMostSets = 4;
  constexpr int kMostBindings = 4;
  FuzzInput input(octets, length);
  start_module(input);
  std::vector<Set> sets;
  while (sets.size() < kMostSets && !input.empty()) {
    Set &set = sets.emplace_back();
    for (int i = 1 + input.octet() % kMostBindings; i > 0; --i) {
      set.push_back(std::make_unique<Binding>(input));
    }
    run(set);
  }
  // Rows that a failed ACTION has left pending go with the next SET that fails.
  for (const Set &set : sets) {
    run(set, FREE);
  }
  return 0;
}
