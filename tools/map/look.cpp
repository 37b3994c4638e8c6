#include "look.h"

#include <algorithm>

namespace fabric_map {

namespace {

constexpr Look kStateTable[] = {
    {"online", "#16a34a", "white"},    {"unknown", "#e2e8f0", "#475569"},
    {"other", "#a855f7", "white"},     {"offline", "#94a3b8", "white"},
    {"testing", "#eab308", "#422006"}, {"fault", "#dc2626", "white"}};
constexpr const Look &kOnline = kStateTable[0];
constexpr const Look &kOtherState = kStateTable[2];

constexpr Look kElementTable[] = {{"switch", "#1e3a5f", "white"},
                                  {"hub", "#0f766e", "white"},
                                  {"bridge", "#7c2d12", "white"},
                                  {"unknown", "#64748b", "white"}};
constexpr const Look &kUnknownElement = kElementTable[3];

constexpr Look kDeviceTable[] = {{"host", "#3b82f6", "white"},
                                 {"storage", "#f59e0b", "white"},
                                 {"other platform", "#8b5cf6", "white"},
                                 {"no platform", "#cbd5e1", "white"}};

const Look &find_look(std::span<const Look> looks, std::string_view word, const Look &otherwise) {
  const auto found = std::ranges::find(looks, word, &Look::word);
  return found == looks.end() ? otherwise : *found;
}

} // namespace

const std::span<const Look> kStateLooks = kStateTable;
const std::span<const Look> kElementLooks = kElementTable;
const std::span<const Look> kDeviceLooks = kDeviceTable;

const Look &look_of_state(std::string_view state) {
  return find_look(kStateTable, state, kOtherState);
}

const Look &look_of_element(std::string_view type) {
  return find_look(kElementTable, type, kUnknownElement);
}

const Look &look_of_platform(std::string_view type) {
  return kDeviceTable[type == "host" ? 0 : type.starts_with("storage") ? 1 : 2];
}

const Look &look_of_stranger() {
  return kDeviceTable[3];
}

bool is_online(const Look &state) {
  return &state == &kOnline;
}

} // namespace fabric_map
