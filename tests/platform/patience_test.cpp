#include "platform/linux/patience.h"

#include <gtest/gtest.h>

using ipc_wire::Patience;

namespace {

TEST(Patience, LooksUntilThereIsSomethingAndSleepsAfterMissesInARow) {
  Patience patience(std::chrono::microseconds(100));
  int looks = 0;
  const auto nothing = [&looks] {
    ++looks;
    return false;
  };
  // A message in between starts the count anew.
  for (int i = 1; i < Patience::kMostMisses; ++i) {
    EXPECT_FALSE(patience.wait(nothing));
  }
  EXPECT_TRUE(patience.wait([] { return true; }));
  for (int i = 0; i < Patience::kMostMisses; ++i) {
    const int before = looks;
    EXPECT_FALSE(patience.wait(nothing));
    EXPECT_GT(looks, before);
  }
  const int before = looks;
  for (int i = 0; i < Patience::kFewestNaps; ++i) {
    EXPECT_FALSE(patience.wait(nothing));
  }
  EXPECT_EQ(looks, before) << "looked although it does not pay";
  int further = 0;
  EXPECT_TRUE(patience.wait([&further] { return ++further == 3; }) || further == 1)
      << "with one processor it looks once";
}

} // namespace
