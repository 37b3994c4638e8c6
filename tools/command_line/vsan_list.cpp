#include "vsan_list.h"

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <stdexcept>

namespace cli {

namespace {

uint32_t read_vsan(std::string_view text, const std::string &item) {
  uint32_t vsan = 0;
  const char *const end = text.data() + text.size();
  const auto [stop, fault] = std::from_chars(text.data(), end, vsan);
  if (fault != std::errc() || stop != end || vsan < 1 || vsan > FCS_MAX_VSAN) {
    throw std::invalid_argument("\"" + item + "\" is neither a VSAN of 1 to " +
                                std::to_string(FCS_MAX_VSAN) + " nor a range such as 1-100");
  }
  return vsan;
}

VsanRange read_range(const std::string &item) {
  const size_t dash = item.find('-');
  const uint32_t first = read_vsan(std::string_view(item).substr(0, dash), item);
  const uint32_t last =
      dash == std::string::npos ? first : read_vsan(std::string_view(item).substr(dash + 1), item);
  if (last < first) {
    throw std::invalid_argument("the range \"" + item + "\" ends before it begins");
  }
  return {first, last};
}

} // namespace

void VsanList::add(const std::string &text) {
  std::istringstream items(text + ",");
  for (std::string item; std::getline(items, item, ',');) {
    ranges_.push_back(read_range(item));
  }
}

bool VsanList::has(uint32_t vsan) const {
  return ranges_.empty() || std::ranges::any_of(ranges_, [vsan](const VsanRange &range) {
           return range.contains(vsan);
         });
}

void add_vsan_option(CLI::App &command, VsanList &list, const std::string &description) {
  const auto add_all = [&list](const std::vector<std::string> &texts) {
    try {
      std::ranges::for_each(texts, [&list](const std::string &text) { list.add(text); });
    } catch (const std::invalid_argument &fault) {
      throw CLI::ValidationError("--vsan", fault.what());
    }
  };
  command.add_option_function<std::vector<std::string>>("--vsan", add_all, description)
      ->expected(1)
      ->take_all()
      ->type_name("VSANS");
}

} // namespace cli
