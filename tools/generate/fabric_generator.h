/**
 * Fabrics of any size out of a seed.
 */
#pragma once

#include "service/fabric/fabric_source.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace fcsctl {

/** What a generated fabric is like. */
struct FabricShape {
  uint64_t seed = 1;
  uint32_t vsans = 4;     ///< 1 to FCS_MAX_VSAN.
  uint32_t switches = 3;  ///< In each VSAN: 1 to fcs::kMaxDomainId.
  uint32_t ports = 16;    ///< Of each switch: 1 to kMaxSwitchPorts.
  uint32_t platforms = 8; ///< In each VSAN: 0 to kMaxPlatforms.
};

/** A port's number has 12 bits in its name. */
constexpr uint32_t kMaxSwitchPorts = 4095;
/** Switches and platforms of a VSAN share the last octet of the MAC addresses in their names. */
constexpr uint32_t kMaxPlatforms = 254;
/** One VSAN at a time is in memory, here and when it is imported. */
constexpr uint32_t kMaxVsanPorts = 65536;

struct GeneratedVsan;

/**
 * A plausible fabric: switches linked by E_Ports to one or two core switches, hosts and storage on
 * F_Ports, some of them out of order, free, or attached to what is no platform.
 *
 * Each VSAN follows from the seed, its id and the shape alone, on every machine. It is made when it
 * is asked for, and the last one made is all that is held.
 *
 * All names are built on the MAC addresses 00-00-5E-00-53-00 to -FF, which are reserved for
 * documentation. Names of switches and nodes are locally assigned (NAA 3) and carry the VSAN; names
 * of ports (NAA 2) carry the port's number, and are therefore unique within their VSAN only. The
 * ports of a platform have the MAC address of its node.
 */
class GeneratedFabric : public fcs::FabricSource {
public:
  /** Told how many VSANs are done. */
  using Progress = std::function<void(uint32_t vsans)>;

  /** Throws std::runtime_error when there can be no such fabric. */
  explicit GeneratedFabric(const FabricShape &shape, Progress progress = {});
  GeneratedFabric(const GeneratedFabric &) = delete;
  GeneratedFabric &operator=(const GeneratedFabric &) = delete;
  ~GeneratedFabric() override;

  std::string comment() override;
  void vsans(const Visit<fcs::Vsan> &visit) override;
  void elements(uint32_t vsan, const Visit<fcs::Element> &visit) override;
  void ports(uint32_t port_list, const Visit<fcs::Port> &visit) override;
  void attached_names(uint32_t list, const Visit<fcs::Octets> &visit) override;
  void platforms(uint32_t vsan, const Visit<PlatformEntry> &visit) override;
  void node_name_lists(const Visit<uint32_t> &visit) override;
  void node_names(uint32_t list, const Visit<NodeNameEntry> &visit) override;
  void mgmt_addr_lists(const Visit<uint32_t> &visit) override;
  void mgmt_addrs(uint32_t list, const Visit<MgmtAddrEntry> &visit) override;

private:
  const GeneratedVsan &vsan(uint32_t id);
  /** The VSAN of a list, when each VSAN has `per_vsan` list indexes. */
  const GeneratedVsan &vsan_of_list(uint32_t list, uint32_t per_vsan);

  FabricShape shape_;
  Progress progress_;
  std::unique_ptr<const GeneratedVsan> last_;
};

} // namespace fcsctl
