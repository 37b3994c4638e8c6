#include "shown_vsans.h"

#include "platform/role.h"

#include <algorithm>

ipc_wire::ShownVsans shown_vsans(uint32_t from) {
  VsanBitmap allowed{VSAN_WHOLE_BYTES, {}};
  if (role_allowed_vsans(&allowed, nullptr, 0, ROLE_ACCESS_READ) == 0) {
    return {};
  }
  VsanBitmap hidden{VSAN_WHOLE_BYTES, {}};
  std::transform(allowed.bytes, allowed.bytes + VSAN_WHOLE_BYTES, hidden.bytes,
                 [](uint8_t byte) { return static_cast<uint8_t>(~byte); });
  constexpr int32_t kEnd = VSAN_WHOLE_BYTES * 8;
  const auto next = [](const VsanBitmap &vsans, int32_t behind) {
    const int32_t bit = bitmap_next_bit(&vsans, behind);
    return bit < 0 ? kEnd : bit;
  };
  ipc_wire::ShownVsans shown{{ipc_wire::kNoVsan}};
  int32_t first = next(allowed, static_cast<int32_t>(std::min<uint32_t>(from, kEnd)) - 1);
  for (auto range = std::begin(shown.ranges); first < kEnd && range != std::end(shown.ranges);
       ++range) {
    const int32_t end = next(hidden, first);
    *range = {static_cast<uint16_t>(first), static_cast<uint16_t>(end - 1)};
    first = next(allowed, end);
  }
  return shown;
}
