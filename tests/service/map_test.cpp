#include "fixtures.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

namespace {

using nlohmann::json;
using Edges = std::multiset<std::pair<std::string, std::string>>;

bool has_dot() {
  return run({"/bin/sh", "-c", "command -v dot"}).status == 0;
}

std::string octets_of_text(const json &text) {
  return text.is_object() ? *fcs::from_hex(text["hex"].get<std::string>())
                          : text.get<std::string>();
}

std::string mac_of(const std::string &wwn) {
  return wwn.substr(2, 6);
}

std::string replaced(std::string text, const std::string &from, const std::string &to) {
  for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/** What a label says: without markup, breaks of lines, and escapes of single characters. */
std::string plain(std::string label) {
  for (size_t begin = 0; (begin = label.find('<', begin)) != std::string::npos;) {
    const size_t end = label.find('>', begin);
    label.erase(begin, end == std::string::npos ? end : end - begin + 1);
  }
  const std::pair<const char *, const char *> kEscapes[] = {
      {"&#160;", " "}, {"&#183;", "·"},  {"&#8230;", "…"}, {"&lt;", "<"},
      {"&gt;", ">"},   {"&quot;", "\""}, {"&amp;", "&"}};
  for (const auto &[escape, text] : kEscapes) {
    label = replaced(label, escape, text);
  }
  return label;
}

/** A map as dot reads it. */
struct Graph {
  std::map<int, std::string> labels; ///< Of nodes, by dot's number.
  Edges edges;                       ///< Between labels; each ordered by its text.
};

class Map : public testing::Test {
protected:
  std::string write(const std::string &name, const std::string &text) const {
    std::ofstream(dir_.path(name), std::ios::binary) << text;
    return dir_.path(name);
  }

  Graph read_graph(const std::string &dot) const {
    const Outcome outcome = run({"/usr/bin/env", "dot", "-Tdot_json", write("g.dot", dot)});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    const json parsed = json::parse(outcome.output);
    Graph graph;
    for (const json &object : parsed["objects"]) {
      if (!object.contains("nodes") && object.contains("label")) {
        graph.labels[object["_gvid"]] = plain(object["label"]);
      }
    }
    for (const json &edge : parsed["edges"]) {
      if (edge.value("style", "") != "invis") {
        const auto ends = std::minmax(graph.labels.at(edge["tail"]), graph.labels.at(edge["head"]));
        graph.edges.insert(ends);
      }
    }
    return graph;
  }

  TempDir dir_;
};

/** What the map of a VSAN has to show, from its description alone. */
class Expected {
public:
  Expected(const json &fabric, const json &vsan) {
    for (const json &list : fabric["nodeNameLists"]) {
      for (const json &name : list["names"]) {
        const std::string wwn = name.is_object() ? name["name"] : name;
        macs_[list["index"]].insert(mac_of(*fcs::from_hex(wwn)));
      }
    }
    for (const json &element : vsan["elements"]) {
      elements.push_back(element["name"]);
      for (const json &port : element["ports"]) {
        port_owner_[*fcs::from_hex(port["name"].get<std::string>())] = element["name"];
      }
    }
    for (const json &element : vsan["elements"]) {
      for (const json &port : element["ports"]) {
        for (const json &attached : port.value("attached", json::array())) {
          add_attached(vsan, *fcs::from_hex(port["name"].get<std::string>()),
                       fcs::from_hex(attached.get<std::string>())->substr(0, 8));
        }
      }
    }
    for (const auto &[a, b] : links_) {
      edges.insert(std::minmax(port_owner_.at(a), port_owner_.at(b)));
    }
  }

  std::vector<std::string> elements;
  std::set<std::string> strangers;
  Edges edges; ///< Between names of elements, of platforms and of ports.

private:
  void add_attached(const json &vsan, const std::string &port, const std::string &peer) {
    if (port_owner_.contains(peer)) {
      links_.insert(std::minmax(port, peer));
      return;
    }
    for (const json &platform : vsan["platforms"]) {
      const auto macs = macs_.find(platform["nodeNameList"].get<uint32_t>());
      if (macs != macs_.end() && macs->second.contains(mac_of(peer))) {
        edges.insert(std::minmax(port_owner_.at(port), octets_of_text(platform["name"])));
        return;
      }
    }
    strangers.insert(fcs::to_wwn(fcs::octets_of(peer)));
    edges.insert(std::minmax(port_owner_.at(port), fcs::to_wwn(fcs::octets_of(peer))));
  }

  std::map<uint32_t, std::set<std::string>> macs_;
  std::map<std::string, std::string> port_owner_;
  std::set<std::pair<std::string, std::string>> links_;
};

/** The label that shows the name of an element, a platform or a stranger; exactly one has to. */
std::string label_with(const Graph &graph, const std::string &name) {
  // Labels cut long names, and show a single octet that is no text as [hh].
  const std::string beginning = replaced(name.substr(0, 50), "\xD6", "[d6]");
  std::vector<std::string> found;
  for (const auto &[id, label] : graph.labels) {
    if (label.find(beginning) != std::string::npos) {
      found.push_back(label);
    }
  }
  EXPECT_EQ(found.size(), 1U) << name;
  return found.empty() ? "" : found[0];
}

TEST_F(Map, ShowsEveryElementLinkAndDeviceOnce) {
  if (!has_dot()) {
    GTEST_SKIP() << "dot, of the package graphviz, is not installed";
  }
  const json fabric = json::parse(std::ifstream(SAMPLE_FABRIC));
  for (const json &vsan : fabric["vsans"]) {
    const std::string id = vsan["id"].dump();
    const Outcome outcome = run({FCSCTL, "map", SAMPLE_FABRIC, "--vsan", id});
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    const Graph graph = read_graph(outcome.output);
    const Expected expected(fabric, vsan);
    EXPECT_EQ(graph.labels.size(),
              expected.elements.size() + expected.strangers.size() + vsan["platforms"].size() + 1);
    for (const std::string &name : expected.elements) {
      label_with(graph, name);
    }
    for (const json &platform : vsan["platforms"]) {
      const std::string name = octets_of_text(platform["name"]);
      label_with(graph, name.empty() ? "(no name)" : name);
    }
    Edges edges;
    for (const auto &[a, b] : expected.edges) {
      edges.insert(std::minmax(label_with(graph, a), label_with(graph, b)));
    }
    EXPECT_EQ(graph.edges, edges) << "VSAN " << id;
    EXPECT_FALSE(edges.empty());
  }
}

TEST_F(Map, ShowsHostileNamesAsTheyAre) {
  const std::pair<std::string, std::string> kNames[] = {
      {R"("\"><b>&amp;</TD>\\N\\G --> ]]> {x|y};//")", R"("><b>&amp;</TD>\N\G --> ]]> {x|y};//)"},
      {R"("   ")", "   "},
      {R"("\u0000\n\t\u007f\u0085")", "[00][0a][09][7f][c285]"},
      {R"({"hex": "ff41c0afeda080f4908080e282"})", "[ff]A[c0][af][ed][a0][80][f4][90][80][80]"},
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
  const Outcome outcome = run({FCSCTL, "map", file});
  ASSERT_EQ(outcome.status, 0) << outcome.output;
  for (const auto &[name, shown] : kNames) {
    // On an element and on a platform.
    size_t found = 0;
    const std::string text = plain(outcome.output);
    for (size_t at = 0; (at = text.find(shown, at)) != std::string::npos; ++at) {
      ++found;
    }
    EXPECT_GE(found, 2U) << shown << "\n" << text;
  }
  if (!has_dot()) {
    GTEST_SKIP() << "dot, of the package graphviz, is not installed";
  }
  const Outcome drawn = run({"/usr/bin/env", "dot", "-Tsvg", write("g.dot", outcome.output)});
  EXPECT_EQ(drawn.status, 0);
  for (const char *complaint : {"Error", "Warning", "syntax"}) {
    EXPECT_EQ(drawn.output.find(complaint), std::string::npos) << drawn.output;
  }
  EXPECT_NE(drawn.output.find("&lt;b&gt;&amp;amp;"), std::string::npos) << drawn.output;
  EXPECT_EQ(read_graph(outcome.output).labels.size(), 2 * std::size(kNames) + 1);
}

TEST_F(Map, DrawsTheStoreOrAFileWholeOrInPart) {
  const std::string store = dir_.path("fabric.db");
  const auto map = [&](std::vector<std::string> options) {
    options.insert(options.begin(), {FCSCTL, "--store", store, "map"});
    return run(options);
  };
  EXPECT_EQ(map({}).output, "fcsctl: cannot open the store " + store + ": there is none\n");
  ASSERT_EQ(run({FCSCTL, "--store", store, "import", SAMPLE_FABRIC}).status, 0);
  const std::string whole = map({}).output;
  EXPECT_EQ(whole, map({SAMPLE_FABRIC}).output);
  const std::string part = map({"--vsan", "2100", "--vsan", "1"}).output;
  for (const auto &[cluster, in_part] :
       std::map<std::string, bool>{{"vsan1 ", true}, {"vsan100 ", false}, {"vsan2100 ", true}}) {
    EXPECT_NE(whole.find("cluster_" + cluster), std::string::npos);
    EXPECT_EQ(part.find("cluster_" + cluster) != std::string::npos, in_part);
  }
  EXPECT_EQ(map({"--vsan", "7"}).output, "fcsctl: the fabric has no VSAN 7\n");
  EXPECT_EQ(map({"--format", "png"}).status, 2);
  const std::string bad = write("bad.json", "{}");
  EXPECT_EQ(map({bad}).output, "fcsctl: " + bad + ": the member \"vsans\" is missing\n");
}

TEST_F(Map, DrawsWithDotAndTellsWhenThereIsNone) {
  const std::string file = dir_.path("map.svg");
  std::ofstream(file) << "old";
  const std::vector<std::string> command = {FCSCTL, "map",      SAMPLE_FABRIC, "--format",
                                            "svg",  "--output", file};
  std::vector<std::string> without = command;
  without.insert(without.begin(), {"/usr/bin/env", "PATH=/nonexistent"});
  const Outcome outcome = run(without);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output,
            "fcsctl: drawing needs the program dot, which is not installed: install "
            "the package graphviz, or write the graph with --format dot\n");
  const auto content = [&file] {
    return std::string(std::istreambuf_iterator<char>(std::ifstream(file).rdbuf()), {});
  };
  EXPECT_EQ(content(), "old");
  if (!has_dot()) {
    GTEST_SKIP() << "dot, of the package graphviz, is not installed";
  }
  EXPECT_EQ(run(command).output, "");
  EXPECT_NE(content().find("20:01:00:00:5e:00:53:20"), std::string::npos);
  EXPECT_TRUE(content().ends_with("</svg>\n"));
}

} // namespace
