#include "integer_words.h"

#include <cstdint>
#include <cstring>

namespace {

/** On a 32-bit host long is the word already, and nothing is to be done. */
constexpr bool kLongIsWider = sizeof(long) > sizeof(int32_t);

bool is_integer(const netsnmp_variable_list &binding) {
  switch (binding.type) {
  case ASN_INTEGER:
  case ASN_COUNTER:
  case ASN_UNSIGNED:
  case ASN_TIMETICKS: return true;
  default: return false;
  }
}

/** Calls `visit` for the integer values of `length` octets. */
template <typename Visit>
void for_each_integer(netsnmp_request_info *requests, size_t length, Visit visit) {
  for (netsnmp_request_info *request = requests; request != nullptr; request = request->next) {
    netsnmp_variable_list &binding = *request->requestvb;
    if (is_integer(binding) && binding.val_len == length) {
      visit(binding);
    }
  }
}

} // namespace

IntegerWords::IntegerWords(netsnmp_request_info *requests) : requests_(requests) {
  if constexpr (kLongIsWider) {
    for_each_integer(requests, sizeof(long), [](netsnmp_variable_list &binding) {
      const auto word = static_cast<int32_t>(*binding.val.integer);
      memcpy(binding.val.integer, &word, sizeof(word));
      binding.val_len = sizeof(word);
    });
  }
}

IntegerWords::~IntegerWords() {
  if constexpr (kLongIsWider) {
    for_each_integer(requests_, sizeof(int32_t), [](netsnmp_variable_list &binding) {
      int32_t word = 0;
      memcpy(&word, binding.val.integer, sizeof(word));
      *binding.val.integer =
          binding.type == ASN_INTEGER ? word : static_cast<long>(static_cast<uint32_t>(word));
      binding.val_len = sizeof(long);
    });
  }
}
