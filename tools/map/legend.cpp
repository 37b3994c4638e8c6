#include "legend.h"

#include "look.h"

namespace fabric_map {

namespace {

/** What is shown in these colours, in as many rows as it takes. */
std::string group(const char *title, std::span<const Look> looks, size_t columns) {
  std::string rows;
  for (size_t i = 0; i < looks.size(); ++i) {
    if (i % columns == 0) {
      rows += (i == 0 ? "<TR><TD ALIGN=\"LEFT\"><B>" + std::string(title) + "</B></TD>"
                      : "</TR><TR><TD></TD>");
    }
    rows += R"(<TD ALIGN="LEFT"><FONT COLOR=")" + std::string(looks[i].fill) +
            R"(">&#9632;</FONT> )" + std::string(looks[i].word) + "</TD>";
  }
  return rows + "</TR>";
}

} // namespace

std::string legend(size_t columns) {
  return R"(<TABLE BORDER="0" CELLBORDER="0" CELLSPACING="0" CELLPADDING="2">)" +
         group("Ports and links", kStateLooks, columns) +
         group("Elements", kElementLooks, columns) + group("Devices", kDeviceLooks, columns) +
         "</TABLE>";
}

} // namespace fabric_map
