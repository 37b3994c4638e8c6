#include "vsan_list.h"

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace cli {

namespace {

fcs::VsanRange read_range(const std::string &item) {
  const auto range = fcs::read_vsan_range(item, FCS_MAX_VSAN);
  if (!range) {
    throw std::invalid_argument("\"" + item + "\" is neither a VSAN of 1 to " +
                                std::to_string(FCS_MAX_VSAN) + " nor a range such as 1-100");
  }
  if (range->last < range->first) {
    throw std::invalid_argument("the range \"" + item + "\" ends before it begins");
  }
  return *range;
}

} // namespace

void VsanList::add(const std::string &text) {
  std::istringstream items(text + ",");
  for (std::string item; std::getline(items, item, ',');) {
    ranges_.push_back(read_range(item));
  }
}

bool VsanList::has(uint32_t vsan) const {
  return ranges_.empty() || std::ranges::any_of(ranges_, [vsan](const fcs::VsanRange &range) {
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
