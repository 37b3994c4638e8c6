#include "port_cells.h"

#include "look.h"

#include <algorithm>

namespace fabric_map {

namespace {

/** Sizes in points. */
constexpr size_t kCellWidth = 16;
constexpr size_t kCellHeight = 9;
constexpr size_t kCellSpacing = 1;
constexpr size_t kDigitWidth = 5;

constexpr char kTable[] =
    R"(<TABLE BORDER="0" CELLBORDER="0" CELLPADDING="0" CELLSPACING="1")"; // kCellSpacing

std::string size_attributes(size_t width, size_t height) {
  return R"( FIXEDSIZE="TRUE" WIDTH=")" + std::to_string(width) + R"(" HEIGHT=")" +
         std::to_string(height) + R"(")";
}

std::string port_cell(const Port &port, size_t width, const std::string &attributes) {
  const Look &look = look_of_state(port.state);
  return "<TD" + size_attributes(width, kCellHeight) + attributes + R"( BGCOLOR=")" + look.fill +
         R"(" HREF="#" TOOLTIP=")" + port.wwn + ", " + port.type + ", " + port.state +
         R"("><FONT COLOR=")" + look.text + R"(" POINT-SIZE="7">)" + std::to_string(port.number) +
         "</FONT></TD>";
}

/** Wide enough for the longest number. */
size_t cell_width(const Element &element, const Ports &ports) {
  size_t width = kCellWidth;
  for (const size_t port : ports) {
    width = std::max(width, kDigitWidth * (std::to_string(element.ports[port].number).size() + 1));
  }
  return width;
}

/** What so many cells take, with the spaces between and around them. */
size_t extent(size_t cells, size_t size) {
  return cells * (size + kCellSpacing) + kCellSpacing;
}

} // namespace

std::string port_anchor(size_t port) {
  return "p" + std::to_string(port);
}

std::string port_block(const Element &element, const Ports &ports, size_t columns,
                       const char *align) {
  const size_t width = cell_width(element, ports);
  const size_t rows = (ports.size() + columns - 1) / columns;
  std::string cells;
  for (size_t i = 0; i < ports.size(); ++i) {
    cells += i % columns != 0 ? "" : i == 0 ? "<TR>" : "</TR><TR>";
    cells += port_cell(element.ports[ports[i]], width, "");
  }
  return kTable +
         size_attributes(extent(std::min(ports.size(), columns), width),
                         extent(rows, kCellHeight)) +
         R"( ALIGN=")" + align + R"(">)" + cells + "</TR></TABLE>";
}

std::string port_edge(const Element &element, const Ports &ports) {
  std::string cells;
  for (const size_t port : ports) {
    cells += port_cell(element.ports[port], cell_width(element, ports),
                       R"( PORT=")" + port_anchor(port) + R"(")");
  }
  return std::string(kTable) + "><TR>" + cells + "</TR></TABLE>";
}

} // namespace fabric_map
