#include "map_dot.h"

#include "map_label.h"
#include "service/fabric/fabric_terms.h"
#include "service/fabric/octets.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace fcsctl {

namespace {

/** How a port's state is shown. */
struct StateLook {
  const char *name;
  const char *fill;
  const char *text;
};

/** A state that has no word looks like the last. */
constexpr StateLook kStates[] = {
    {"unknown", "#e2e8f0", "#475569"}, {"online", "#16a34a", "white"},
    {"offline", "#94a3b8", "white"},   {"testing", "#eab308", "#422006"},
    {"fault", "#dc2626", "white"},     {"other", "#a855f7", "white"}};
constexpr uint32_t kOnline = fcs::code(fcs::kPortStates, "online");

/** How an element looks: the colour of its head. */
struct ElementLook {
  const char *name;
  const char *fill;
};

/** A type that has no word looks like the first. */
constexpr ElementLook kElementLooks[] = {
    {"unknown", "#64748b"}, {"switch", "#1e3a5f"}, {"hub", "#0f766e"}, {"bridge", "#7c2d12"}};

struct DeviceLook {
  const char *name;
  const char *shape;
  const char *fill;
};

constexpr DeviceLook kHost = {"host", "box", "#dbeafe"};
constexpr DeviceLook kStorage = {"storage", "cylinder", "#fde9c8"};
constexpr DeviceLook kOtherPlatform = {"other platform", "component", "#ede9fe"};
constexpr DeviceLook kStranger = {"device without a platform", "ellipse", "white"};

/** Ports of an element beside each other. */
constexpr size_t kPortsInRow = 8;

/** The look of a code, which has its word for a name; `other` if there is none. */
template <typename Look, size_t kCount>
const Look &look_of(const Look (&looks)[kCount], fcs::Terms terms, uint32_t code,
                    const Look &other) {
  const auto word = fcs::word_of(terms, code).value_or("");
  const auto look = std::ranges::find(looks, word, &Look::name);
  return look == std::end(looks) ? other : *look;
}

const StateLook &look_of_state(uint32_t state) {
  return look_of(kStates, fcs::kPortStates, state, *std::rbegin(kStates));
}

const ElementLook &look_of_element(uint32_t type) {
  return look_of(kElementLooks, fcs::kElementTypes, type, *std::begin(kElementLooks));
}

const DeviceLook &look_of_platform(uint32_t type) {
  const std::string_view word = fcs::word_of(fcs::kPlatformTypes, type).value_or("");
  return word == "host" ? kHost : word.starts_with("storage") ? kStorage : kOtherPlatform;
}

std::string word_or_code(fcs::Terms terms, uint32_t code) {
  const auto word = fcs::word_of(terms, code);
  return word ? std::string(*word) : "type " + std::to_string(code);
}

std::string small(const std::string &text) {
  return R"(<FONT POINT-SIZE="9">)" + text + "</FONT>";
}

std::string node_id(const char *kind, uint32_t vsan, size_t index) {
  return kind + std::to_string(vsan) + "_" + std::to_string(index);
}

std::string port_id(uint32_t vsan, PortPlace place) {
  return node_id("e", vsan, place.element) + ":p" + std::to_string(place.port);
}

/** A cell with the port's number in the colour of its state; the pointer shows the rest. */
std::string port_cell(const fcs::Port &port, size_t index) {
  const StateLook &look = look_of_state(port.state);
  const std::string tip =
      fcs::to_wwn(port.name) + ", " + word_or_code(fcs::kPortTypes, port.type) + ", " + look.name;
  return R"(<TD PORT="p)" + std::to_string(index) + R"(" BGCOLOR=")" + look.fill +
         R"(" WIDTH="24" HREF="#" TOOLTIP=")" + tip + R"("><FONT COLOR=")" + look.text +
         R"(" POINT-SIZE="9">)" + std::to_string(port.physical_port) + "</FONT></TD>";
}

/** Rows of the ports that `chosen` chooses. */
template <typename Chosen>
std::string port_rows(const std::vector<fcs::Port> &ports, const Chosen &chosen) {
  std::string rows;
  size_t shown = 0;
  for (size_t i = 0; i < ports.size(); ++i) {
    if (chosen(i)) {
      rows += shown % kPortsInRow != 0 ? "" : shown == 0 ? "<TR>" : "</TR><TR>";
      rows += port_cell(ports[i], i);
      ++shown;
    }
  }
  return rows.empty() ? rows : rows + "</TR>";
}

std::string element_head(const fcs::Element &element) {
  const std::string_view name =
      fcs::text_of(fcs::Octets(element.logical_name, element.logical_name_length));
  std::string text = "<B>" + (name.empty() ? fcs::to_wwn(element.name) : label_name(name)) + "</B>";
  text +=
      "<BR/>" +
      small(word_or_code(fcs::kElementTypes, element.type) +
            (element.domain_id == 0 ? "" : " &#183; domain " + std::to_string(element.domain_id)) +
            (element.local ? " &#183; local" : ""));
  if (!name.empty()) {
    text += "<BR/>" + small(fcs::to_wwn(element.name));
  }
  return text;
}

/** Ports that are linked to elements above stand above the element's head, the others below it. */
std::string element_label(const FabricMap &map, size_t index) {
  const MappedElement &mapped = map.elements[index];
  std::set<size_t> upper;
  for (const Link &link : map.links) {
    if (link.b.element == index && link.a.element != index) {
      upper.insert(link.b.port);
    }
  }
  const size_t lower = mapped.ports.size() - upper.size();
  const size_t columns = std::clamp(std::max(upper.size(), lower), size_t{1}, kPortsInRow);
  return R"(<TABLE BORDER="0" CELLBORDER="0" CELLSPACING="2" CELLPADDING="4" BGCOLOR="white">)" +
         port_rows(mapped.ports, [&upper](size_t port) { return upper.contains(port); }) +
         R"(<TR><TD COLSPAN=")" + std::to_string(columns) + R"(" BGCOLOR=")" +
         look_of_element(mapped.element.type).fill + R"(" CELLPADDING="7"><FONT COLOR="white">)" +
         element_head(mapped.element) + "</FONT></TD></TR>" +
         port_rows(mapped.ports, [&upper](size_t port) { return !upper.contains(port); }) +
         "</TABLE>";
}

std::string platform_label(const PlatformEntry &platform) {
  const std::string_view name = fcs::text_of(fcs::Octets(platform.name, platform.name_length));
  return (name.empty() ? "<I>(no&#160;name)</I>" : "<B>" + label_name(name) + "</B>") + "<BR/>" +
         small(word_or_code(fcs::kPlatformTypes, platform.type));
}

void write_device(std::ostream &out, const std::string &id, const DeviceLook &look,
                  const std::string &label, bool attached) {
  out << "    " << id << " [shape=" << look.shape << ", fillcolor=\"" << look.fill
      << "\", style=\"filled" << (look.shape == kHost.shape ? ",rounded" : "")
      << (attached ? "" : ",dashed") << "\", label=<" << label << ">];\n";
}

void write_edge(std::ostream &out, const std::string &from, const std::string &to, uint32_t state,
                bool is_link) {
  const char *colour = look_of_state(state).fill;
  out << "    " << from << " -- " << to << " [color=\"" << colour
      << "\", penwidth=" << (is_link ? "2.5" : "1.3") << (state == kOnline ? "" : ", style=dashed")
      << "];\n";
}

std::string count(size_t number, const char *one, const char *many) {
  return std::to_string(number) + " " + (number == 1 ? one : many);
}

std::string cluster_label(const FabricMap &map) {
  size_t ports = 0;
  for (const MappedElement &element : map.elements) {
    ports += element.ports.size();
  }
  const auto status = static_cast<uint32_t>(map.vsan.discovery.status);
  return R"(<FONT POINT-SIZE="16"><B>VSAN )" + std::to_string(map.vsan.discovery.vsan) +
         R"(</B></FONT><BR ALIGN="LEFT"/>)" +
         small("discovery " + word_or_code(fcs::kDiscoveryStatuses, status) + " &#183; " +
               count(map.elements.size(), "element", "elements") + " &#183; " +
               count(ports, "port", "ports") + " &#183; " +
               count(map.platforms.size(), "platform", "platforms")) +
         R"(<BR ALIGN="LEFT"/>)";
}

/** The state that a link shows: that of the end which is not online, if there is one. */
uint32_t link_state(const FabricMap &map, const Link &link) {
  const auto state = [&map](PortPlace place) {
    return map.elements[place.element].ports[place.port].state;
  };
  return state(link.a) == kOnline ? state(link.b) : state(link.a);
}

bool is_attached(const FabricMap &map, size_t platform) {
  return std::ranges::any_of(map.attachments, [platform](const Attachment &attachment) {
    return !attachment.is_stranger && attachment.device == platform;
  });
}

bool is_linked(const FabricMap &map, size_t element) {
  return std::ranges::any_of(map.links, [element](const Link &link) {
    return link.a.element == element || link.b.element == element;
  });
}

void write_nodes(std::ostream &out, const FabricMap &map) {
  const uint32_t vsan = map.vsan.discovery.vsan;
  for (size_t i = 0; i < map.elements.size(); ++i) {
    out << "    " << node_id("e", vsan, i) << " [shape=plain, label=<" << element_label(map, i)
        << ">];\n";
  }
  for (size_t i = 0; i < map.platforms.size(); ++i) {
    write_device(out, node_id("d", vsan, i), look_of_platform(map.platforms[i].type),
                 platform_label(map.platforms[i]), is_attached(map, i));
  }
  for (size_t i = 0; i < map.strangers.size(); ++i) {
    write_device(out, node_id("s", vsan, i), kStranger, small(fcs::to_wwn(map.strangers[i])), true);
  }
}

/** Keeps what hangs on nothing below the first element, which would stand aside otherwise. */
void write_invisible_edges(std::ostream &out, const FabricMap &map) {
  const uint32_t vsan = map.vsan.discovery.vsan;
  const std::string first = "    " + node_id("e", vsan, 0) + " -- ";
  for (size_t i = 1; i < map.elements.size(); ++i) {
    if (!is_linked(map, i)) {
      out << first << node_id("e", vsan, i) << " [style=invis];\n";
    }
  }
  for (size_t i = 0; i < map.platforms.size() && !map.elements.empty(); ++i) {
    if (!is_attached(map, i)) {
      out << first << node_id("d", vsan, i) << " [style=invis];\n";
    }
  }
}

void write_edges(std::ostream &out, const FabricMap &map) {
  const uint32_t vsan = map.vsan.discovery.vsan;
  for (const Link &link : map.links) {
    write_edge(out, port_id(vsan, link.a), port_id(vsan, link.b), link_state(map, link), true);
  }
  for (const Attachment &attachment : map.attachments) {
    const uint32_t state = map.elements[attachment.port.element].ports[attachment.port.port].state;
    write_edge(out, port_id(vsan, attachment.port),
               node_id(attachment.is_stranger ? "s" : "d", vsan, attachment.device), state, false);
  }
}

/** A row of the legend: a coloured cell, and what it stands for. */
std::string legend_row(const char *fill, const std::string &text) {
  return R"(<TR><TD BGCOLOR=")" + std::string(fill) + R"(" WIDTH="24" BORDER="1"></TD>)" +
         R"(<TD ALIGN="LEFT">)" + text + "</TD></TR>";
}

std::string legend_label() {
  std::string rows = R"(<TR><TD COLSPAN="2" ALIGN="LEFT"><B>Ports and links</B></TD></TR>)";
  for (const StateLook &look : kStates) {
    rows += legend_row(look.fill, look.name);
  }
  rows += R"(<TR><TD COLSPAN="2" ALIGN="LEFT"><B>Elements</B></TD></TR>)";
  for (const ElementLook &look : kElementLooks) {
    rows += legend_row(look.fill, look.name);
  }
  rows += R"(<TR><TD COLSPAN="2" ALIGN="LEFT"><B>Devices</B></TD></TR>)";
  for (const DeviceLook &look : {kHost, kStorage, kOtherPlatform, kStranger}) {
    rows += legend_row(look.fill, look.name);
  }
  rows +=
      R"(<TR><TD COLSPAN="2" ALIGN="LEFT"><I>dashed: not attached, or not online</I></TD></TR>)";
  return R"(<TABLE BORDER="1" CELLBORDER="0" CELLSPACING="3" COLOR="#cbd5e1" BGCOLOR="white">)" +
         rows + "</TABLE>";
}

} // namespace

DotWriter::DotWriter(std::ostream &out) : out_(out) {
  out_ << "graph fabric {\n"
          "  graph [charset=\"UTF-8\", fontname=\"Helvetica\", bgcolor=\"white\", pad=0.3, "
          "nodesep=0.25, ranksep=0.9];\n"
          "  node [fontname=\"Helvetica\", fontsize=11, color=\"#94a3b8\", penwidth=1.2];\n"
          "  edge [color=\"#94a3b8\"];\n";
}

void DotWriter::add(const FabricMap &map) {
  out_ << "  subgraph cluster_vsan" << map.vsan.discovery.vsan << " {\n"
       << "    graph [style=\"rounded,filled\", fillcolor=\"#f8fafc\", color=\"#cbd5e1\", "
          "margin=18, "
          "labeljust=l, label=<"
       << cluster_label(map) << ">];\n";
  write_nodes(out_, map);
  write_edges(out_, map);
  write_invisible_edges(out_, map);
  out_ << "  }\n";
}

void DotWriter::finish() {
  out_ << "  legend [shape=plain, label=<" << legend_label() << ">];\n}\n";
}

} // namespace fcsctl
