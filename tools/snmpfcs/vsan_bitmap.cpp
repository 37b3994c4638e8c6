#include "vsan_bitmap.h"

#include "table_walk.h"

namespace snmpfcs {

namespace {

constexpr uint32_t kVsansOfHalf = 2048;

} // namespace

std::string bitmap_of(const std::vector<uint32_t> &vsans, const VsanHalf &half) {
  std::string octets;
  for (const uint32_t vsan : vsans) {
    const uint32_t bit = vsan - half.first_vsan;
    if (vsan >= half.first_vsan && bit < kVsansOfHalf) {
      octets.resize(std::max<size_t>(octets.size(), bit / 8 + 1));
      octets[bit / 8] = static_cast<char>(octets[bit / 8] | 0x80 >> bit % 8);
    }
  }
  return octets;
}

void add_vsans(std::string_view bitmap, const VsanHalf &half, std::vector<uint32_t> &vsans) {
  for (uint32_t bit = 0; bit < kVsansOfHalf && bit / 8 < bitmap.size(); ++bit) {
    if ((bitmap[bit / 8] & 0x80 >> bit % 8) != 0) {
      vsans.push_back(half.first_vsan + bit);
    }
  }
}

std::string list_text(const std::vector<uint32_t> &vsans) {
  std::string text;
  for (const Range &range : ranges_of(vsans)) {
    text += (text.empty() ? "" : ",") + std::to_string(range.first);
    if (range.last != range.first) {
      text += "-" + std::to_string(range.last);
    }
  }
  return text;
}

} // namespace snmpfcs
