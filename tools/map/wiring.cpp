#include "wiring.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

namespace fabric_map {

namespace {

std::string_view mac_of(std::string_view wwn) {
  constexpr std::string_view kMac = "00:00:5e:00:53:00";
  return wwn.substr(wwn.size() - std::min(wwn.size(), kMac.size()));
}

class WiringFinder {
public:
  explicit WiringFinder(const Vsan &vsan) : vsan_(vsan) {}

  Wiring find() {
    for (size_t i = 0; i < vsan_.platforms.size(); ++i) {
      for (const std::string &wwn : vsan_.platforms[i].node_wwns) {
        platforms_.emplace(mac_of(wwn), i);
      }
    }
    for_each_port([this](PortPlace place, const Port &port) { ports_.emplace(port.wwn, place); });
    for_each_port([this](PortPlace place, const Port &port) {
      for (size_t name = 0; name < port.attached.size(); ++name) {
        attach(place, name, port.attached[name]);
      }
    });
    wiring_.links.assign(links_.begin(), links_.end());
    return std::move(wiring_);
  }

private:
  template <typename Visit> void for_each_port(const Visit &visit) const {
    for (size_t i = 0; i < vsan_.elements.size(); ++i) {
      for (size_t k = 0; k < vsan_.elements[i].ports.size(); ++k) {
        visit(PortPlace{i, k}, vsan_.elements[i].ports[k]);
      }
    }
  }

  void attach(PortPlace place, size_t name, const std::string &wwn) {
    const auto peer = ports_.find(wwn);
    if (peer != ports_.end()) {
      links_.insert({std::min(place, peer->second), std::max(place, peer->second)});
    } else {
      wiring_.attachments.push_back({place, name, device_of(wwn)});
    }
  }

  size_t device_of(const std::string &wwn) {
    const auto platform = platforms_.find(mac_of(wwn));
    if (platform != platforms_.end()) {
      return platform->second;
    }
    const auto [stranger, is_new] = strangers_.emplace(wwn, strangers_.size());
    if (is_new) {
      wiring_.strangers.push_back(wwn);
    }
    return vsan_.platforms.size() + stranger->second;
  }

  const Vsan &vsan_;
  Wiring wiring_;
  std::map<std::string_view, PortPlace> ports_;
  std::map<std::string_view, size_t> platforms_;
  std::map<std::string_view, size_t> strangers_;
  std::set<Link> links_;
};

} // namespace

Wiring find_wiring(const Vsan &vsan) {
  return WiringFinder(vsan).find();
}

} // namespace fabric_map
