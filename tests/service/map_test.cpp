#include "fixtures.h"

#include <fstream>
#include <set>
#include <sstream>

namespace {

bool has_dot() {
  return run({"/bin/sh", "-c", "command -v dot"}).status == 0;
}

size_t count(const std::string &text, const std::string &part) {
  size_t found = 0;
  for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) {
    ++found;
  }
  return found;
}

using Texts = std::multiset<std::string>;

/** What has `attribute` first in a list of its own, and its value. */
Texts with_first(const std::string &attribute, const std::string &map) {
  const std::string start = " [" + attribute + "=";
  std::istringstream lines(map);
  Texts found;
  for (std::string line; std::getline(lines, line);) {
    const size_t list = line.find(start);
    if (list != std::string::npos) {
      const size_t indent = line.find_first_not_of(' ');
      const std::string value = line.substr(list + start.size());
      found.insert(line.substr(indent, list - indent) + " " +
                   value.substr(0, value.find_first_of(",]")));
    }
  }
  return found;
}

class Map : public testing::Test {
protected:
  std::string write(const std::string &name, const std::string &text) const {
    std::ofstream(dir_.path(name), std::ios::binary) << text;
    return dir_.path(name);
  }

  TempDir dir_;
};

TEST_F(Map, ShowsEveryElementLinkAndDeviceOnce) {
  // Two links between the switches, one of them known at one end only, neither good at both ends;
  // a loop with two ports of the host and a stranger that hangs elsewhere, too; a hub and a
  // platform that hang on nothing.
  const std::string file = write("map.json", R"({
    "nodeNameLists": [{"index": 1, "names": ["20000000000000a1", "20000000000000a2"]}],
    "vsans": [{"id": 7, "elements": [
      {"name": "1000000000000001", "type": "switch", "portList": 1, "ports": [
        {"name": "2001000000000001", "type": "E_Port", "state": "online", "attachedList": 1,
         "attached": ["2001000000000002fffc0002"]},
        {"name": "2002000000000001", "type": "E_Port", "state": "fault"},
        {"name": "2003000000000001", "type": "FL_Port", "state": "online", "attachedList": 2,
         "attached": ["21000000000000a1000000aa", "22000000000000a2000000bb",
                      "21000000000000cc00000000"]}]},
      {"name": "1000000000000002", "type": "switch", "portList": 2, "ports": [
        {"name": "2001000000000002", "type": "E_Port", "state": "testing", "attachedList": 3,
         "attached": ["2001000000000001fffc0001"]},
        {"name": "2002000000000002", "type": "E_Port", "state": "online", "attachedList": 4,
         "attached": ["2002000000000001fffc0001"]},
        {"name": "2003000000000002", "type": "F_Port", "state": "offline", "attachedList": 5,
         "attached": ["21000000000000cc00000000"]}]},
      {"name": "1000000000000003", "type": "hub"}],
    "platforms": [{"index": 1, "name": "", "type": "storageSubsystem"},
                  {"index": 2, "name": "a-host", "type": "host", "nodeNameList": 1}]}]})");
  const std::string map = run({FCSCTL, "map", file}).output;
  EXPECT_EQ(with_first("shape", map),
            (Texts{"e7_0 plain", "e7_1 plain", "e7_2 plain", "d7_0 cylinder", "d7_1 box",
                   "s7_0 ellipse", "legend plain"}));
  EXPECT_EQ(with_first("color", map),
            (Texts{R"(edge "#94a3b8")", R"(e7_0:p0 -- e7_1:p0 "#eab308")",
                   R"(e7_0:p1 -- e7_1:p1 "#dc2626")", R"(e7_0:p2 -- d7_1 "#16a34a")",
                   R"(e7_0:p2 -- d7_1 "#16a34a")", R"(e7_0:p2 -- s7_0 "#16a34a")",
                   R"(e7_1:p2 -- s7_0 "#94a3b8")"}))
      << map;
  for (const char *label :
       {"<B>10:00:00:00:00:00:00:03</B>", "(no&#160;name)", "<B>a-host</B>",
        "21:00:00:00:00:00:00:cc", "3 elements &#183; 6 ports &#183; 2 platforms"}) {
    EXPECT_EQ(count(map, label), 1U) << label << "\n" << map;
  }
}

TEST_F(Map, ShowsHostileNamesAsTheyAre) {
  // As they stand in labels, which break long names.
  const std::pair<std::string, std::string> kNames[] = {
      {R"("\"><b>&amp;</TD>\\N\\G --> ]]> {x|y};//")",
       R"(&quot;&gt;&lt;b&gt;&amp;amp;&lt;/TD&gt;\N\G&#160;<BR/>--&gt;&#160;]]&gt;&#160;{x|y};//)"},
      {R"("   ")", "<B>&#160;&#160;&#160;</B>"},
      {R"("\u0000\n\t\u007f\u0085")", "[00][0a][09][7f][c285]"},
      {R"({"hex": "ff41c0afeda080f4908080e282"})",
       "[ff]A[c0][af][ed][a0][80][f4][90][80][80][e2][82]"},
      {R"("\ufffe\uffff€😀")", "[efbfbe][efbfbf]€😀"},
  };
  std::ostringstream platforms;
  std::ostringstream elements;
  int index = 0;
  for (const auto &[name, shown] : kNames) {
    const char *separator = index++ == 0 ? "" : ",";
    platforms << separator << R"({"index":)" << index << R"(,"type":"host","name":)" << name << "}";
    elements << separator << R"({"name":"200000000000000)" << index
             << R"(","type":1,"logicalName":)" << name << "}";
  }
  const std::string file =
      write("hostile.json", R"({"vsans":[{"id":1,"platforms":[)" + platforms.str() +
                                R"(],"elements":[)" + elements.str() + "]}]}");
  const std::string map = run({FCSCTL, "map", file}).output;
  for (const auto &[name, shown] : kNames) {
    EXPECT_EQ(count(map, shown), 2U) << "on an element and on a platform: " << shown << "\n" << map;
  }
  if (!has_dot()) {
    GTEST_SKIP() << "dot, of the package graphviz, is not installed";
  }
  const Outcome drawn = run({"/usr/bin/env", "dot", "-Tsvg", write("g.dot", map)});
  EXPECT_EQ(drawn.status, 0);
  for (const char *complaint : {"Error", "Warning", "syntax"}) {
    EXPECT_EQ(count(drawn.output, complaint), 0U) << drawn.output;
  }
  EXPECT_EQ(count(drawn.output, "class=\"node\""), 2 * std::size(kNames) + 1);
}

TEST_F(Map, DrawsTheStoreOrAFileWholeOrInPart) {
  const std::string store = dir_.path("fabric.db");
  const auto map = [&](const std::vector<std::string> &options) {
    return run({FCSCTL, "--store", store, "map"}, options);
  };
  EXPECT_EQ(map({}).output, "fcsctl: cannot open the store " + store + ": there is none\n");
  ASSERT_EQ(run({FCSCTL, "--store", store, "import", SAMPLE_FABRIC}).status, 0);
  const std::string whole = map({}).output;
  EXPECT_EQ(whole, map({SAMPLE_FABRIC}).output);
  EXPECT_EQ(count(whole, "cluster_vsan"), 3U);
  const std::string part = map({"--vsan", "2100", "--vsan", "1"}).output;
  EXPECT_EQ(count(part, "cluster_vsan"), 2U);
  EXPECT_EQ(count(part, "cluster_vsan100 "), 0U);
  EXPECT_EQ(map({"--vsan", "7"}).output, "fcsctl: the fabric has no VSAN 7\n");
  EXPECT_EQ(map({"--format", "png"}).status, 2);
  const std::string bad = write("bad.json", "{}");
  EXPECT_EQ(map({bad}).output, "fcsctl: " + bad + ": the member \"vsans\" is missing\n");
}

TEST_F(Map, DrawsWithDotAndTellsWhenThereIsNone) {
  const std::string file = write("map.svg", "old");
  const std::vector<std::string> command = {FCSCTL, "map",      SAMPLE_FABRIC, "--format",
                                            "svg",  "--output", file};
  const Outcome without = run({"/usr/bin/env", "PATH=/nonexistent"}, command);
  EXPECT_EQ(without.status, 1);
  EXPECT_EQ(without.output,
            "fcsctl: drawing needs the program dot, which is not installed: install "
            "the package graphviz, or write the graph with --format dot\n");
  EXPECT_EQ(content(file), "old");
  if (!has_dot()) {
    GTEST_SKIP() << "dot, of the package graphviz, is not installed";
  }
  EXPECT_EQ(run(command).output, "");
  EXPECT_NE(content(file).find("20:01:00:00:5e:00:53:20"), std::string::npos);
  EXPECT_TRUE(content(file).ends_with("</svg>\n"));
}

} // namespace
