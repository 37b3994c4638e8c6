#include "platform/linux/patience.h"

#include <gtest/gtest.h>

using ipc_wire::Patience;

namespace {

TEST(Patience, LooksForAsLongAsThatPays) {
  Patience patience(std::chrono::microseconds(20));
  int looks = 0;
  const auto looks_in_vain = [&] {
    const int before = looks;
    EXPECT_FALSE(patience.wait([&looks] {
      ++looks;
      return false;
    }));
    return looks > before;
  };
  for (int i = 0; i < 1000; ++i) { // A walk: now and then the manager takes its time.
    for (int hits = 0; hits <= Patience::kCostOfMiss; ++hits) {
      EXPECT_TRUE(patience.wait([] { return true; }));
    }
    EXPECT_TRUE(looks_in_vain());
  }
  int misses = 0;
  while (looks_in_vain()) {
    ++misses;
  }
  EXPECT_GE(misses, Patience::kMostCredit / Patience::kCostOfMiss - 1);
  EXPECT_LE(misses, Patience::kMostCredit / Patience::kCostOfMiss);
  for (int naps = 1; naps < Patience::kFewestNaps; ++naps) {
    EXPECT_FALSE(looks_in_vain()) << "looked although it does not pay";
  }
  EXPECT_TRUE(looks_in_vain()) << "never tried again";
  for (int naps = 0; naps < 2 * Patience::kFewestNaps; ++naps) {
    EXPECT_FALSE(looks_in_vain()) << "tried again too soon";
  }
}

} // namespace
