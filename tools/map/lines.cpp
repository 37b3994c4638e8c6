#include "lines.h"

#include <algorithm>
#include <map>

namespace fabric_map {

namespace {

/** The worse state of a link's ends. */
const Look &state_of(const Vsan &vsan, const Link &link) {
  const auto state = [&vsan](PortPlace end) {
    return &look_of_state(vsan.elements[end.element].ports[end.port].state);
  };
  return *std::max(state(link.a), state(link.b));
}

} // namespace

std::vector<Line> link_lines(const Vsan &vsan, const Wiring &wiring) {
  std::vector<Line> lines;
  for (const Link &link : wiring.links) {
    const auto wwn = [&vsan](PortPlace end) {
      return vsan.elements[end.element].ports[end.port].wwn;
    };
    const Look &state = state_of(vsan, link);
    lines.push_back({link.a, link.b, &state, "",
                     wwn(link.a) + " - " + wwn(link.b) + ", " + std::string(state.word)});
  }
  return lines;
}

std::vector<Line> bundle_lines(const Vsan &vsan, const Wiring &wiring) {
  std::map<std::pair<size_t, size_t>, std::map<const Look *, size_t>> bundles;
  for (const Link &link : wiring.links) {
    ++bundles[{link.a.element, link.b.element}][&state_of(vsan, link)];
  }
  std::vector<Line> lines;
  for (const auto &[ends, states] : bundles) {
    std::string text;
    for (const auto &[state, count] : states) {
      text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + std::string(state->word);
    }
    lines.push_back({{ends.first, 0}, {ends.second, 0}, states.rbegin()->first, text, text});
  }
  return lines;
}

} // namespace fabric_map
