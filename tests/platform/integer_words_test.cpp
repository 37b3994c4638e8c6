/** Integers of a SET: words inside, what they were outside. */
#include "platform/linux/agent/integer_words.h"

#include <gtest/gtest.h>

namespace {

TEST(IntegerWords, AreWordsInsideAndWhatTheyWereOutside) {
  const struct {
    u_char type;
    long value;
  } cases[] = {{ASN_INTEGER, 1},
               {ASN_INTEGER, -1},
               {ASN_INTEGER, INT32_MIN},
               {ASN_INTEGER, INT32_MAX},
               {ASN_UNSIGNED, static_cast<long>(0xFFFFFFFFU)},
               {ASN_UNSIGNED, 1800},
               {ASN_TIMETICKS, static_cast<long>(0x80000000U)},
               {ASN_COUNTER, static_cast<long>(0x80000000U)}};
  for (const auto &c : cases) {
    long storage = c.value;
    netsnmp_variable_list binding{};
    binding.type = c.type;
    binding.val.integer = &storage;
    binding.val_len = sizeof(long);
    uint8_t octets[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    netsnmp_variable_list text{};
    text.type = ASN_OCTET_STR;
    text.val.string = octets;
    text.val_len = sizeof(octets);
    netsnmp_request_info second{};
    second.requestvb = &text;
    netsnmp_request_info first{};
    first.requestvb = &binding;
    first.next = &second;
    for (int phase = 0; phase < 3; ++phase) {
      {
        const IntegerWords words(&first);
        int32_t word = 0;
        memcpy(&word, binding.val.string, sizeof(word));
        EXPECT_EQ(word, static_cast<int32_t>(c.value));
        EXPECT_EQ(binding.val_len, 4U);
        EXPECT_EQ(text.val_len, 8U);
      }
      EXPECT_EQ(storage, c.value);
      EXPECT_EQ(binding.val_len, sizeof(long));
    }
    EXPECT_EQ(octets[0], 1);
    EXPECT_EQ(octets[7], 8);
  }
}

} // namespace
