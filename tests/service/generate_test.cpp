#include "fixtures.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

namespace {

using nlohmann::json;

std::string generate(std::vector<std::string> options) {
  options.insert(options.begin(), {FCSCTL, "generate"});
  const Outcome outcome = run(options);
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
  const std::vector<std::string> shape = {"--vsans", "3", "--switches",  "4",
                                          "--ports", "9", "--platforms", "5"};
  // What any machine and any standard library has to give.
  const std::pair<const char *, uint64_t> kSums[] = {{"1", 0xA7984AA2EDFFC32DU},
                                                     {"2", 0x416D4FD46F06A137U},
                                                     {"18446744073709551615", 0xB9E0B8CEED286089U}};
  for (const auto &[seed, sum] : kSums) {
    std::vector<std::string> options = shape;
    options.insert(options.end(), {"--seed", seed});
    EXPECT_EQ(checksum(generate(options)), sum) << seed;
  }
}

TEST(Generate, ImportsAndExportsUnchanged) {
  const std::vector<std::string> kShapes[] = {
      {},
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
  std::map<uint32_t, std::string> mac_of_list;
  for (const json &list : fabric["nodeNameLists"]) {
    const json &name = list["names"][0];
    const std::string wwn = name.is_object() ? name["name"] : name;
    mac_of_list[list["index"]] = *fcs::from_hex(wwn.substr(6));
  }
  std::set<std::string> types;
  std::set<std::string> states;
  std::set<std::string> statuses;
  for (const json &vsan : fabric["vsans"]) {
    statuses.insert(vsan["discovery"]["status"].get<std::string>());
    std::set<std::string> macs;
    for (const json &platform : vsan["platforms"]) {
      macs.insert(mac_of_list.at(platform["nodeNameList"]));
    }
    std::map<std::string, json> ports;
    for (const json &element : vsan["elements"]) {
      EXPECT_EQ(element["ports"].size(), 24U);
      for (const json &port : element["ports"]) {
        ports[*fcs::from_hex(port["name"].get<std::string>())] = port;
        types.insert(port["type"].get<std::string>());
        states.insert(port["state"].get<std::string>());
      }
    }
    size_t links = 0;
    size_t devices = 0;
    for (const auto &[name, port] : ports) {
      for (const json &attached : port.value("attached", json::array())) {
        const std::string peer = fcs::from_hex(attached.get<std::string>())->substr(0, 8);
        if (port["type"] == "E_Port") {
          const json &back = ports.at(peer);
          EXPECT_EQ(fcs::from_hex(back["attached"][0].get<std::string>())->substr(0, 8), name);
          EXPECT_EQ(back["state"], port["state"]);
          ++links;
        } else {
          EXPECT_FALSE(ports.contains(peer));
          devices += macs.contains(peer.substr(2)) ? 1U : 0U;
        }
      }
    }
    EXPECT_GE(links, 10U) << "five switches are linked to the first";
    EXPECT_GE(devices, 20U);
  }
  EXPECT_EQ(types, (std::set<std::string>{"E_Port", "FL_Port", "F_Port"}));
  EXPECT_EQ(states, (std::set<std::string>{"fault", "offline", "online", "testing"}));
  EXPECT_EQ(statuses, (std::set<std::string>{"completed", "localOnly"}));
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
      {{"--platforms", "-1"}, 2, "--platforms"},
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
    std::vector<std::string> command = {FCSCTL, "generate"};
    command.insert(command.end(), refused.options.begin(), refused.options.end());
    const Outcome outcome = run(command);
    EXPECT_EQ(outcome.status, refused.status) << refused.fault;
    EXPECT_NE(outcome.output.find(refused.fault), std::string::npos) << outcome.output;
  }
}

} // namespace
