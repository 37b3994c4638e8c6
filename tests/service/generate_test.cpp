#include "fixtures.h"

#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

namespace {

using nlohmann::json;

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

/** The port name that an attached port name begins with. */
std::string wwn_of(const json &attached) {
  return fcs::to_wwn(fcs::octets_of(*fcs::from_hex(attached.get<std::string>().substr(0, 16))));
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

TEST(Generate, LinksLeadBackAndDevicesBelongToPlatforms) {
  const json fabric = json::parse(
      generate({"--vsans", "20", "--switches", "6", "--ports", "24", "--platforms", "10"}));
  std::set<std::string> macs; // Each VSAN has the same ones.
  for (const json &list : fabric["nodeNameLists"]) {
    const json &name = list["names"][0];
    macs.insert((name.is_object() ? name["name"] : name).get<std::string>().substr(6));
  }
  for (const json &vsan : fabric["vsans"]) {
    std::map<std::string, json> ports;
    for (const json &element : vsan["elements"]) {
      EXPECT_EQ(element["ports"].size(), 24U);
      for (const json &port : element["ports"]) {
        ports[port["name"]] = port;
      }
    }
    size_t links = 0;
    size_t devices = 0;
    for (const auto &[name, port] : ports) {
      for (const json &attached : port.value("attached", json::array())) {
        const std::string peer = wwn_of(attached);
        if (port["type"] == "E_Port") {
          EXPECT_EQ(wwn_of(ports.at(peer)["attached"][0]), name);
          EXPECT_EQ(ports.at(peer)["state"], port["state"]);
          ++links;
        } else {
          EXPECT_FALSE(ports.contains(peer));
          devices += macs.contains(peer.substr(6)) ? 1U : 0U;
        }
      }
    }
    EXPECT_GE(links, 10U) << "five switches are linked to the first";
    EXPECT_GE(devices, 20U);
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
