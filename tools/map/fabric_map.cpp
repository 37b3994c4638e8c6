#include "fabric_map.h"

#include <algorithm>
#include <array>
#include <set>

namespace fcsctl {

namespace {

using Mac = std::array<uint8_t, 6>;

/** The first octets of a name that is as long or longer. */
fcs::Wwn wwn_of(fcs::Octets octets) {
  fcs::Wwn name{};
  std::copy_n(octets.begin(), name.size(), name.begin());
  return name;
}

/** The last octets of a world-wide name. */
Mac mac_of(fcs::Octets name) {
  Mac mac{};
  std::ranges::copy(name.last(mac.size()), mac.begin());
  return mac;
}

class MapMaker {
public:
  MapMaker(fcs::FabricSource &fabric, const fcs::Vsan &vsan) : fabric_(fabric) { map_.vsan = vsan; }

  FabricMap make() {
    read_elements();
    read_platforms();
    for (size_t i = 0; i < map_.elements.size(); ++i) {
      for (size_t k = 0; k < map_.elements[i].ports.size(); ++k) {
        attach({i, k});
      }
    }
    map_.links.assign(links_.begin(), links_.end());
    return std::move(map_);
  }

private:
  void read_elements() {
    fabric_.elements(map_.vsan.discovery.vsan, [this](const fcs::Element &element) {
      map_.elements.push_back({element, {}});
    });
    for (size_t i = 0; i < map_.elements.size(); ++i) {
      MappedElement &mapped = map_.elements[i];
      if (mapped.element.port_list_index == 0) {
        continue;
      }
      fabric_.ports(mapped.element.port_list_index, [&](const fcs::Port &port) {
        ports_.emplace(wwn_of(port.name), PortPlace{i, mapped.ports.size()});
        mapped.ports.push_back(port);
      });
    }
  }

  void read_platforms() {
    fabric_.platforms(map_.vsan.discovery.vsan, [this](const PlatformEntry &platform) {
      map_.platforms.push_back(platform);
    });
    for (size_t i = 0; i < map_.platforms.size(); ++i) {
      if (map_.platforms[i].node_name_list_index != 0) {
        fabric_.node_names(
            map_.platforms[i].node_name_list_index,
            [this, i](const NodeNameEntry &name) { platforms_.emplace(mac_of(name.name), i); });
      }
    }
  }

  void attach(PortPlace place) {
    const uint32_t list = map_.elements[place.element].ports[place.port].attached_list_index;
    if (list == 0) {
      return;
    }
    fabric_.attached_names(list, [&](const fcs::Octets &attached_name) {
      const fcs::Wwn name = wwn_of(attached_name);
      const auto peer = ports_.find(name);
      if (peer != ports_.end()) {
        links_.insert({std::min(place, peer->second), std::max(place, peer->second)});
      } else {
        attach_device(place, name);
      }
    });
  }

  void attach_device(PortPlace place, const fcs::Wwn &name) {
    const auto platform = platforms_.find(mac_of(name));
    if (platform != platforms_.end()) {
      map_.attachments.push_back({place, platform->second, false});
      return;
    }
    const auto [stranger, is_new] = strangers_.emplace(name, map_.strangers.size());
    if (is_new) {
      map_.strangers.push_back(name);
    }
    map_.attachments.push_back({place, stranger->second, true});
  }

  fcs::FabricSource &fabric_;
  FabricMap map_{};
  std::map<fcs::Wwn, PortPlace> ports_;
  std::map<Mac, size_t> platforms_;
  std::map<fcs::Wwn, size_t> strangers_;
  std::set<Link> links_;
};

} // namespace

FabricMap map_vsan(fcs::FabricSource &fabric, const fcs::Vsan &vsan) {
  return MapMaker(fabric, vsan).make();
}

} // namespace fcsctl
