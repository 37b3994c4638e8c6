#include "generated_vsan.h"

#include "service/fabric/fabric_columns.h"
#include "service/fabric/fabric_terms.h"

#include <algorithm>
#include <optional>
#include <random>
#include <string_view>

namespace fcsctl {

namespace {

constexpr uint32_t kSwitch = fcs::code(fcs::kElementTypes, "switch");
constexpr uint32_t kFPort = fcs::code(fcs::kPortTypes, "F_Port");
constexpr uint32_t kFlPort = fcs::code(fcs::kPortTypes, "FL_Port");
constexpr uint32_t kEPort = fcs::code(fcs::kPortTypes, "E_Port");
constexpr uint32_t kOnline = fcs::code(fcs::kPortStates, "online");
constexpr uint32_t kOffline = fcs::code(fcs::kPortStates, "offline");
constexpr uint32_t kTesting = fcs::code(fcs::kPortStates, "testing");
constexpr uint32_t kFault = fcs::code(fcs::kPortStates, "fault");
constexpr uint32_t kHost = fcs::code(fcs::kPlatformTypes, "host");
constexpr uint32_t kArray = fcs::code(fcs::kPlatformTypes, "storageSubsystem");
constexpr uint32_t kVault = fcs::code(fcs::kPlatformTypes, "storageDevice");
constexpr uint32_t kGateway = fcs::code(fcs::kPlatformTypes, "gateway");

/** The MAC address of what is attached and is no platform. */
constexpr uint8_t kStrangerMac = 0x00;

/** Numbers out of a seed, the same ones with every standard library. */
class Dice {
public:
  explicit Dice(uint64_t seed) : engine_(seed) {}

  /** 0 to limit - 1; the limits here are so small that the remainder's bias is of no account. */
  uint32_t below(uint32_t limit) { return static_cast<uint32_t>(engine_() % limit); }
  /** True once in `times`. */
  bool once_in(uint32_t times) { return below(times) == 0; }
  template <size_t kLength> uint32_t one_of(const uint32_t (&values)[kLength]) {
    return values[below(kLength)];
  }

private:
  std::mt19937_64 engine_; // The standard states its output, unlike that of the distributions.
};

/** Makes seeds of VSANs that differ little into seeds that differ much (SplitMix64's last step). */
uint64_t mix(uint64_t value) {
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9U;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EBU;
  return value ^ (value >> 31);
}

/** A name on a documentation MAC address: 4 bits of NAA, 12 bits of extension, the address. */
fcs::Wwn make_name(uint32_t naa, uint32_t extension, uint8_t mac) {
  return {static_cast<uint8_t>(naa << 4 | (extension >> 8 & 0xF)),
          static_cast<uint8_t>(extension),
          0x00,
          0x00,
          0x5E,
          0x00,
          0x53,
          mac};
}

/** Name of a switch or a node. */
fcs::Wwn local_name(uint32_t vsan, uint8_t mac) {
  return make_name(3, vsan, mac);
}

fcs::Wwn port_name(uint32_t number, uint8_t mac) {
  return make_name(2, number, mac);
}

AttachedName attach(fcs::Octets name, uint8_t domain, uint8_t area, uint8_t port) {
  AttachedName attached{};
  std::ranges::copy(name, attached.begin());
  attached[9] = domain;
  attached[10] = area;
  attached[11] = port;
  return attached;
}

class VsanGenerator {
public:
  VsanGenerator(const FabricShape &shape, uint32_t id)
      : shape_(shape), id_(id), dice_(mix(shape.seed * 0x9E3779B97F4A7C15U + id)),
        links_(shape.switches, 0), device_ports_(256, 0) {}

  GeneratedVsan make() {
    add_vsan();
    for (uint32_t i = 0; i < shape_.switches; ++i) {
      add_switch(i);
    }
    for (uint32_t i = 0; i < shape_.platforms; ++i) {
      add_platform(i);
    }
    link_switches();
    for (auto &each : made_.switches) {
      attach_devices(each);
    }
    return std::move(made_);
  }

private:
  using Switch = GeneratedVsan::Switch;

  /** The VSAN's list index `offset`, when each VSAN has `per_vsan`. */
  uint32_t list(uint32_t per_vsan, uint32_t offset) const {
    return (id_ - 1) * per_vsan + offset + 1;
  }

  std::string host_name(std::string_view kind, uint32_t number) const {
    return std::string(kind) + "-" + std::to_string(id_) + "-" + std::to_string(number) +
           ".example.net";
  }

  void add_vsan();
  void add_switch(uint32_t index);
  void add_platform(uint32_t index);
  uint32_t add_mgmt_addrs(uint32_t offset, uint32_t count);
  void link_switches();
  bool link(uint32_t a, uint32_t b);
  fcs::Port &add_link_end(uint32_t end, uint32_t state);
  void attach_devices(Switch &each);
  void attach_device(const Switch &each, fcs::Port &port);
  bool add_attached(const Switch &each, fcs::Port &port, uint8_t mac, uint8_t loop_address);
  uint8_t platform_mac();

  static fcs::Port &add_port(Switch &each, uint32_t type);
  std::vector<AttachedName> &attached_list(const Switch &each, fcs::Port &port);

  const FabricShape &shape_;
  uint32_t id_;
  Dice dice_;
  GeneratedVsan made_{};
  std::vector<uint32_t> links_;        ///< Of each switch.
  std::vector<uint32_t> device_ports_; ///< By MAC address: how many port names are given away.
};

void VsanGenerator::add_vsan() {
  made_.vsan.discovery.vsan = id_;
  made_.vsan.discovery.status =
      dice_.once_in(8) ? FCS_DISCOVERY_LOCAL_ONLY : FCS_DISCOVERY_COMPLETED;
  made_.vsan.discovery.completed_seconds = static_cast<int32_t>(1714557600 + dice_.below(86400));
  made_.vsan.discovery.completed_microseconds = static_cast<int32_t>(dice_.below(1000000));
  made_.vsan.discovery_takes_seconds = (1 + dice_.below(16)) / 4.0;
  made_.vsan.statistics.vsan = id_;
  fcs::visit_counters(made_.vsan.statistics,
                      [this](const char *, uint32_t &counter, const fcs::JsonMember &) {
                        counter = dice_.below(5000);
                      });
}

void VsanGenerator::add_switch(uint32_t index) {
  const auto mac = static_cast<uint8_t>(index + 1);
  fcs::Element element{};
  element.local = index == 0;
  element.vsan = id_;
  std::ranges::copy(local_name(id_, mac), element.name);
  element.type = kSwitch;
  element.domain_id = mac;
  // The well-known address identifier of a domain controller.
  element.mgmt_id[1] = 0xFF;
  element.mgmt_id[2] = 0xFC;
  element.mgmt_id[3] = mac;
  std::ranges::copy(local_name(id_, 1), element.fabric_name);
  const std::string name = dice_.once_in(16) ? "" : host_name("switch", index + 1);
  fcs::set_value(fcs::Text{element.logical_name_length, element.logical_name},
                 fcs::octets_of(name));
  element.mgmt_addr_list_index = add_mgmt_addrs(index, dice_.once_in(4) ? 2 : 1);
  std::string info("Zephrin\0", 8);
  info += element.local ? "Director" : "Edge Switch";
  info += '\0';
  // Two throws in one expression would come in an order of the compiler's own.
  const uint32_t patch = dice_.below(9);
  const uint32_t minor = dice_.below(4);
  info += "4." + std::to_string(minor) + "." + std::to_string(patch);
  std::ranges::copy(info, element.info_list);
  element.port_list_index = list(port_lists_per_vsan(shape_), index);
  made_.switches.push_back({element, {}});
}

void VsanGenerator::add_platform(uint32_t index) {
  struct Kind {
    const char *name;
    uint32_t type;
  };
  static constexpr Kind kKinds[] = {{"host", kHost}, {"host", kHost},      {"host", kHost},
                                    {"host", kHost}, {"array", kArray},    {"vault", kVault},
                                    {"host", kHost}, {"gateway", kGateway}};
  const Kind &kind = kKinds[dice_.below(std::size(kKinds))];
  PlatformEntry platform{};
  platform.vsan = static_cast<int32_t>(id_);
  platform.platform_index = static_cast<int32_t>(index + 1);
  fcs::set_value(fcs::Text{platform.name_length, platform.name},
                 fcs::octets_of(host_name(kind.name, index + 1)));
  platform.type = kind.type;
  platform.node_name_list_index = list(node_name_lists_per_vsan(shape_), index);
  platform.mgmt_addr_list_index = add_mgmt_addrs(shape_.switches + index, dice_.below(3));
  platform.config_source = dice_.once_in(8) ? 1 : 0;
  platform.validation_result = dice_.one_of({1, 1, 1, 1, 2, 3});
  NodeNameEntry node{static_cast<int32_t>(platform.node_name_list_index)};
  std::ranges::copy(local_name(id_, static_cast<uint8_t>(0xFF - index)), node.name);
  node.config_source = platform.config_source;
  made_.node_names[platform.node_name_list_index] = {node};
  made_.platforms.push_back(platform);
}

/** Gives the index of a list with so many addresses, 0 for none. */
uint32_t VsanGenerator::add_mgmt_addrs(uint32_t offset, uint32_t count) {
  if (count == 0) {
    return 0;
  }
  const uint32_t index = list(mgmt_addr_lists_per_vsan(shape_), offset);
  for (uint32_t i = 1; i <= count; ++i) {
    // The prefix is reserved for documentation.
    const std::string text =
        "2001:db8:" + std::to_string(id_) + ":" + std::to_string(offset) + "::" + std::to_string(i);
    MgmtAddrEntry address{static_cast<int32_t>(index), static_cast<int32_t>(i)};
    fcs::set_value(fcs::Text{address.address_length, address.address}, fcs::octets_of(text));
    address.config_source = dice_.once_in(8) ? 1 : 0;
    made_.mgmt_addrs[index].push_back(address);
  }
  return index;
}

/** Each switch is linked to one of the first two, which are the core, and often to the other. */
void VsanGenerator::link_switches() {
  for (uint32_t i = 1; i < shape_.switches; ++i) {
    const uint32_t core = dice_.below(std::min(i, 2U));
    bool linked = link(i, core);
    if (i > 1 && (!linked || dice_.once_in(2))) {
      linked = link(i, 1 - core) || linked;
    }
    for (uint32_t other = i; other > 0 && !linked; --other) {
      linked = link(i, other - 1);
    }
  }
}

/** False when one of them has no port to spare: at least half of a switch's ports are F_Ports. */
bool VsanGenerator::link(uint32_t a, uint32_t b) {
  const uint32_t room = std::max(1U, shape_.ports / 2);
  if (links_[a] >= room || links_[b] >= room) {
    return false;
  }
  const uint32_t state = dice_.once_in(16) ? dice_.one_of({kOffline, kTesting, kFault}) : kOnline;
  fcs::Port &port_a = add_link_end(a, state);
  fcs::Port &port_b = add_link_end(b, state);
  const auto name_of = [](const fcs::Port &port, uint32_t end) {
    AttachedName name = attach(port.name, 0xFF, 0xFC, static_cast<uint8_t>(end + 1));
    return name;
  };
  attached_list(made_.switches[a], port_a).push_back(name_of(port_b, b));
  attached_list(made_.switches[b], port_b).push_back(name_of(port_a, a));
  return true;
}

fcs::Port &VsanGenerator::add_link_end(uint32_t end, uint32_t state) {
  ++links_[end];
  fcs::Port &port = add_port(made_.switches[end], kEPort);
  port.state = state;
  port.tx_type = 3;
  return port;
}

fcs::Port &VsanGenerator::add_port(Switch &each, uint32_t type) {
  fcs::Port port{};
  port.vsan = each.element.vsan;
  port.physical_port = static_cast<uint32_t>(each.ports.size()) + 1;
  std::ranges::copy(port_name(port.physical_port, each.element.name[7]), port.name);
  port.port_list = each.element.port_list_index;
  port.local = each.element.local;
  port.type = type;
  port.module_type = 1;
  each.ports.push_back(port);
  return each.ports.back();
}

/** The names attached to the port, which has a list from now on. */
std::vector<AttachedName> &VsanGenerator::attached_list(const Switch &each, fcs::Port &port) {
  const uint32_t index = each.element.domain_id - 1;
  port.attached_list_index =
      list(attached_lists_per_vsan(shape_), index * shape_.ports + port.physical_port - 1);
  return made_.attached[port.attached_list_index];
}

void VsanGenerator::attach_devices(Switch &each) {
  while (each.ports.size() < shape_.ports) {
    attach_device(each, add_port(each, kFPort));
  }
}

void VsanGenerator::attach_device(const Switch &each, fcs::Port &port) {
  port.tx_type = 1 + dice_.below(5);
  port.module_type = 1 + dice_.below(3);
  switch (dice_.below(16)) {
  case 0:
  case 1: port.state = kOffline; return;
  case 2: port.state = kTesting; return;
  case 3: port.state = add_attached(each, port, kStrangerMac, 0) ? kOnline : kOffline; return;
  case 4: port.state = kFault; return;
  case 5:
    port.type = kFlPort;
    port.state = kOnline;
    for (uint32_t i = 2 + dice_.below(3); i > 0; --i) {
      add_attached(each, port, kStrangerMac, static_cast<uint8_t>(0xF0 - i));
    }
    return;
  default: port.state = add_attached(each, port, platform_mac(), 0) ? kOnline : kOffline; return;
  }
}

/** Attaches the device's next port; false when its port numbers are used up. */
bool VsanGenerator::add_attached(const Switch &each, fcs::Port &port, uint8_t mac,
                                 uint8_t loop_address) {
  if (device_ports_[mac] == kMaxSwitchPorts) {
    return false;
  }
  const auto domain = static_cast<uint8_t>(each.element.domain_id);
  attached_list(each, port)
      .push_back(attach(port_name(++device_ports_[mac], mac), domain,
                        static_cast<uint8_t>(port.physical_port), loop_address));
  return true;
}

/** Of any platform, or of a stranger when there is none. */
uint8_t VsanGenerator::platform_mac() {
  return shape_.platforms == 0 ? kStrangerMac
                               : static_cast<uint8_t>(0xFF - dice_.below(shape_.platforms));
}

} // namespace

uint32_t port_lists_per_vsan(const FabricShape &shape) {
  return shape.switches;
}

uint32_t attached_lists_per_vsan(const FabricShape &shape) {
  return shape.switches * shape.ports;
}

uint32_t node_name_lists_per_vsan(const FabricShape &shape) {
  return shape.platforms;
}

uint32_t mgmt_addr_lists_per_vsan(const FabricShape &shape) {
  return shape.switches + shape.platforms;
}

GeneratedVsan generate_vsan(const FabricShape &shape, uint32_t id) {
  return VsanGenerator(shape, id).make();
}

} // namespace fcsctl
