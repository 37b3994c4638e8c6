/**
 * Reads of any object, with any OID, exact or not, whatever the service and the role answer.
 */
#include "fuzz_platform.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *octets, size_t length) {
  constexpr int kMostReads = 8;
  FuzzInput input(octets, length);
  start_module(input);
  for (int i = 0; i < kMostReads && !input.empty(); ++i) {
    const variable &object = take_object(input);
    const bool exact = input.octet() % 2 == 1;
    Name name = take_name(input, object, 0);
    read_name(object, name, exact);
  }
  return 0;
}
