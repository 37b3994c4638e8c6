#include "fixtures.h"

namespace {

std::string generate(const std::vector<std::string> &options) {
  const Outcome outcome = run({FCSCTL, "generate"}, options);
  EXPECT_EQ(outcome.status, 0) << outcome.output;
  return outcome.output;
}

/** FNV-1a, 64 bits. */
uint64_t checksum(const std::string &text) {
  uint64_t sum = 0xCBF29CE484222325U;
  for (const char letter : text) {
    sum = (sum ^ static_cast<uint8_t>(letter)) * 0x100000001B3U;
  }
  return sum;
}

TEST(Generate, OneSeedGivesTheSameFabricEverywhere) {
  // What any machine and any standard library has to give.
  const std::pair<const char *, uint64_t> kSums[] = {{"1", 0xA7984AA2EDFFC32DU},
                                                     {"2", 0x416D4FD46F06A137U},
                                                     {"18446744073709551615", 0xB9E0B8CEED286089U}};
  for (const auto &[seed, sum] : kSums) {
    EXPECT_EQ(checksum(generate({"--vsans", "3", "--switches", "4", "--ports", "9", "--platforms",
                                 "5", "--seed", seed})),
              sum)
        << seed;
  }
}

TEST(Generate, ImportsAndExportsUnchanged) {
  const std::vector<std::string> kShapes[] = {
      {"--vsans", "1", "--switches", "1", "--ports", "1", "--platforms", "0"},
      {"--vsans", "2", "--switches", "239", "--ports", "2", "--platforms", "16"},
      {"--vsans", "1", "--switches", "1", "--ports", "4095", "--platforms", "254"},
      // More loop devices than there are names for.
      {"--vsans", "1", "--switches", "2", "--ports", "4095", "--platforms", "0"},
      {"--vsans", "4096", "--switches", "2", "--ports", "2", "--platforms", "1"},
  };
  const TempDir dir;
  fcs::FabricStore store(dir.path("fabric.db"), std::chrono::milliseconds(100));
  for (const auto &shape : kShapes) {
    const std::string description = generate(shape);
    ASSERT_EQ(import_text(store, description), "");
    EXPECT_EQ(checksum(export_text(store)), checksum(description));
  }
}

TEST(Generate, RefusesWhatCannotBe) {
  const TempDir dir;
  const struct {
    std::vector<std::string> options;
    int status;
    std::string fault;
  } kCases[] = {
      {{"--vsans", "4097"}, 2, "--vsans: Value 4097 not in range 1 to 4096"},
      {{"--switches", "0"}, 2, "--switches: Value 0 not in range 1 to 239"},
      {{"--ports", "4096"}, 2, "--ports: Value 4096 not in range 1 to 4095"},
      {{"--seed", "x"}, 2, "--seed"},
      {{"--switches", "239", "--platforms", "17"},
       1,
       "fcsctl: 239 switches and 17 platforms in a VSAN: they may be 255 together\n"},
      {{"--switches", "17", "--ports", "4000"},
       1,
       "fcsctl: 17 switches of 4000 ports: a VSAN may have 65536 ports\n"},
      {{"--output", dir.path("none/x")}, 1, "none/x: cannot be written: No such file"},
      {{"--output", "/dev/full"}, 1, "/dev/full: cannot be written: No space left on device\n"},
  };
  for (const auto &refused : kCases) {
    const Outcome outcome = run({FCSCTL, "generate"}, refused.options);
    EXPECT_EQ(outcome.status, refused.status) << refused.fault;
    EXPECT_NE(outcome.output.find(refused.fault), std::string::npos) << outcome.output;
  }
}

} // namespace
