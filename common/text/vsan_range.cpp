#include "vsan_range.h"

#include <charconv>

namespace fcs {

namespace {

std::optional<uint32_t> read_vsan(std::string_view text, uint32_t highest) {
  uint32_t vsan = 0;
  const char *const end = text.data() + text.size();
  const auto [stop, fault] = std::from_chars(text.data(), end, vsan);
  const bool is_vsan = fault == std::errc() && stop == end && vsan >= 1 && vsan <= highest;
  return is_vsan ? std::optional(vsan) : std::nullopt;
}

} // namespace

std::optional<VsanRange> read_vsan_range(std::string_view text, uint32_t highest) {
  const size_t dash = text.find('-');
  const auto first = read_vsan(text.substr(0, dash), highest);
  const auto last =
      dash == std::string_view::npos ? first : read_vsan(text.substr(dash + 1), highest);
  return first && last ? std::optional(VsanRange{*first, *last}) : std::nullopt;
}

std::string to_text(const VsanRange &range) {
  const std::string first = std::to_string(range.first);
  return range.first == range.last ? first : first + " to " + std::to_string(range.last);
}

} // namespace fcs
