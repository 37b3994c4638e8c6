#include "card.h"

#include "look.h"
#include "map_label.h"

#include <algorithm>
#include <map>

namespace fabric_map {

namespace {

/** Ports beside each other: of one device, and of those without any. */
constexpr size_t kDevicePorts = 4;
constexpr size_t kIdlePorts = 10;

std::string card(const std::string &rows, const char *attributes = "") {
  return std::string("<TABLE ") + attributes +
         R"(BORDER="1" COLOR="#94a3b8" BGCOLOR="white" CELLBORDER="0" CELLSPACING="0" )"
         R"(CELLPADDING="0">)" +
         rows + "</TABLE>";
}

/** A row of one cell. */
std::string wide_row(const std::string &content, const std::string &attributes = "") {
  return R"(<TR><TD COLSPAN="2")" + attributes + ">" + content + "</TD></TR>";
}

/** A row whose cell is that wide and on its left side. */
std::string left_row(const std::string &content) {
  return wide_row(content, R"( ALIGN="LEFT" BALIGN="LEFT" CELLPADDING="1")");
}

std::string edge_row(const Element &element, const std::set<size_t> &ports) {
  return ports.empty() ? "" : wide_row(port_edge(element, {ports.begin(), ports.end()}));
}

/** The element's name and what it is; `more` is another line. */
std::string head_row(const Element &element, const std::string &more = "") {
  const Look &look = look_of_element(element.type);
  const std::string facts[] = {
      element.type == "switch" ? "" : element.type,
      element.domain == 0 ? "" : "domain " + std::to_string(element.domain),
      element.is_local ? "local" : "", element.name.empty() ? "" : element.wwn};
  std::string line;
  for (const std::string &fact : facts) {
    line += (line.empty() || fact.empty() ? "" : " &#183; ") + fact;
  }
  return wide_row(R"(<FONT COLOR=")" + std::string(look.text) + R"("><FONT POINT-SIZE="10"><B>)" +
                      (element.name.empty() ? element.wwn : label_name(element.name)) +
                      "</B></FONT>" + (line.empty() ? "" : "<BR/>" + line) +
                      (more.empty() ? "" : "<BR/>" + more) + "</FONT>",
                  R"( CELLPADDING="3" BGCOLOR=")" + std::string(look.fill) + R"(")") +
         wide_row("", R"( HEIGHT="2")");
}

std::string marked(const Look &look, const std::string &text) {
  return R"(<FONT COLOR=")" + std::string(look.fill) + R"(">&#9632;</FONT> )" + text;
}

std::string platform_text(const Platform &platform) {
  return marked(look_of_platform(platform.type),
                platform.name.empty() ? "<I>(no&#160;name)</I>" : label_name(platform.name));
}

/** The devices that are attached to an element, each with its ports. */
std::map<size_t, Ports> devices_of(const Wiring &wiring, size_t element) {
  std::map<size_t, Ports> devices;
  for (const Attachment &attachment : wiring.attachments) {
    if (attachment.port.element == element) {
      Ports &ports = devices[attachment.device];
      if (ports.empty() || ports.back() != attachment.port.port) {
        ports.push_back(attachment.port.port);
      }
    }
  }
  return devices;
}

/** A device, which the pointer tells more of, and its ports. */
std::string device_row(const Element &element, const std::string &text, const std::string &more,
                       const Ports &ports) {
  return R"(<TR><TD ALIGN="LEFT" BALIGN="LEFT" CELLPADDING="1" HREF="#" TOOLTIP=")" + more +
         R"(">)" + text + "&#160;</TD><TD>" + port_block(element, ports, kDevicePorts, "RIGHT") +
         "</TD></TR>";
}

/** All strangers at the same ports. */
std::string strangers_row(const Element &element, const std::vector<std::string> &wwns,
                          const Ports &ports) {
  std::string all;
  for (const std::string &wwn : wwns) {
    all += (all.empty() ? "" : ", ") + wwn;
  }
  const std::string more = wwns.size() == 1 ? "" : " +" + std::to_string(wwns.size() - 1);
  return device_row(element, marked(look_of_stranger(), wwns[0] + more), all, ports);
}

std::string device_rows(const Vsan &vsan, const Wiring &wiring, const Element &element,
                        const std::map<size_t, Ports> &devices) {
  std::string rows;
  std::map<Ports, std::vector<std::string>> strangers;
  for (const auto &[device, ports] : devices) {
    if (device < vsan.platforms.size()) {
      const Platform &platform = vsan.platforms[device];
      rows += device_row(element, platform_text(platform), platform.type, ports);
    } else {
      strangers[ports].push_back(wiring.strangers[device - vsan.platforms.size()]);
    }
  }
  for (const auto &[ports, wwns] : strangers) {
    rows += strangers_row(element, wwns, ports);
  }
  return rows;
}

/** The ports that are neither linked nor attached to anything. */
std::string idle_rows(const Element &element, const std::map<size_t, Ports> &devices,
                      const LinkedPorts &linked) {
  std::set<size_t> busy = linked.upper;
  busy.insert(linked.lower.begin(), linked.lower.end());
  for (const auto &[device, ports] : devices) {
    busy.insert(ports.begin(), ports.end());
  }
  Ports idle;
  for (size_t port = 0; port < element.ports.size(); ++port) {
    if (!busy.contains(port)) {
      idle.push_back(port);
    }
  }
  return idle.empty() ? ""
                      : left_row(R"(<FONT COLOR="#64748b">nothing attached</FONT>)") +
                            wide_row(port_block(element, idle, kIdlePorts, "LEFT"));
}

} // namespace

std::string element_card(const Vsan &vsan, const Wiring &wiring, size_t element,
                         const LinkedPorts &linked) {
  const Element &shown = vsan.elements[element];
  const std::map<size_t, Ports> devices = devices_of(wiring, element);
  return card(edge_row(shown, linked.upper) + head_row(shown) +
              device_rows(vsan, wiring, shown, devices) + idle_rows(shown, devices, linked) +
              edge_row(shown, linked.lower));
}

std::string summary_card(const Vsan &vsan, const Wiring &wiring, size_t element) {
  const Element &shown = vsan.elements[element];
  return card(head_row(shown, counted(shown.ports.size(), "port") + " &#183; " +
                                  counted(devices_of(wiring, element).size(), "device")));
}

std::string idle_card(const Vsan &vsan, const std::vector<size_t> &platforms) {
  std::string rows = wide_row("<I>not attached</I>", R"( CELLPADDING="3")");
  for (const size_t platform : platforms) {
    const Platform &idle = vsan.platforms[platform];
    rows += left_row(platform_text(idle) + " &#183; " + idle.type + "&#160;");
  }
  return card(rows, R"(STYLE="dashed" )");
}

std::string counted(size_t number, const std::string &one) {
  return std::to_string(number) + " " + one + (number == 1 ? "" : "s");
}

} // namespace fabric_map
