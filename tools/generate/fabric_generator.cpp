#include "fabric_generator.h"

#include "generated_vsan.h"

#include <stdexcept>

namespace fcsctl {

namespace {

void check(const FabricShape &shape) {
  if (shape.switches + shape.platforms > kMaxPlatforms + 1) {
    throw std::runtime_error(
        std::to_string(shape.switches) + " switches and " + std::to_string(shape.platforms) +
        " platforms in a VSAN: they may be " + std::to_string(kMaxPlatforms + 1) + " together");
  }
  if (uint64_t{shape.switches} * shape.ports > kMaxVsanPorts) {
    throw std::runtime_error(std::to_string(shape.switches) + " switches of " +
                             std::to_string(shape.ports) + " ports: a VSAN may have " +
                             std::to_string(kMaxVsanPorts) + " ports");
  }
}

/** Visits what a list has in the VSAN; nothing if it is not there. */
template <typename Lists, typename Visit>
void visit_list(const Lists &lists, uint32_t list, const Visit &visit) {
  const auto found = lists.find(list);
  if (found != lists.end()) {
    for (const auto &row : found->second) {
      visit(row);
    }
  }
}

} // namespace

GeneratedFabric::GeneratedFabric(const FabricShape &shape, Progress progress)
    : shape_(shape), progress_(std::move(progress)) {
  check(shape);
}

GeneratedFabric::~GeneratedFabric() = default;

const GeneratedVsan &GeneratedFabric::vsan(uint32_t id) {
  if (!last_ || last_->vsan.discovery.vsan != id) {
    last_ = std::make_unique<const GeneratedVsan>(generate_vsan(shape_, id));
  }
  return *last_;
}

const GeneratedVsan &GeneratedFabric::vsan_of_list(uint32_t list, uint32_t per_vsan) {
  return vsan((list - 1) / per_vsan + 1);
}

std::string GeneratedFabric::comment() {
  return "Generated from seed " + std::to_string(shape_.seed) + ": " +
         std::to_string(shape_.vsans) + " VSANs, in each " + std::to_string(shape_.switches) +
         " switches of " + std::to_string(shape_.ports) + " ports and " +
         std::to_string(shape_.platforms) + " platforms.";
}

void GeneratedFabric::vsans(const Visit<fcs::Vsan> &visit) {
  for (uint32_t id = 1; id <= shape_.vsans; ++id) {
    visit(vsan(id).vsan);
    if (progress_) {
      progress_(id);
    }
  }
}

void GeneratedFabric::elements(uint32_t vsan_id, const Visit<fcs::Element> &visit) {
  for (const auto &each : vsan(vsan_id).switches) {
    visit(each.element);
  }
}

void GeneratedFabric::ports(uint32_t port_list, const Visit<fcs::Port> &visit) {
  const uint32_t per_vsan = port_lists_per_vsan(shape_);
  for (const auto &port :
       vsan_of_list(port_list, per_vsan).switches[(port_list - 1) % per_vsan].ports) {
    visit(port);
  }
}

void GeneratedFabric::attached_names(uint32_t list, const Visit<fcs::Octets> &visit) {
  visit_list(vsan_of_list(list, attached_lists_per_vsan(shape_)).attached, list, visit);
}

void GeneratedFabric::platforms(uint32_t vsan_id, const Visit<PlatformEntry> &visit) {
  for (const auto &platform : vsan(vsan_id).platforms) {
    visit(platform);
  }
}

void GeneratedFabric::node_name_lists(const Visit<uint32_t> &visit) {
  for (uint32_t id = 1; id <= shape_.vsans; ++id) {
    for (const auto &[list, names] : vsan(id).node_names) {
      visit(list);
    }
  }
}

void GeneratedFabric::node_names(uint32_t list, const Visit<NodeNameEntry> &visit) {
  visit_list(vsan_of_list(list, node_name_lists_per_vsan(shape_)).node_names, list, visit);
}

void GeneratedFabric::mgmt_addr_lists(const Visit<uint32_t> &visit) {
  for (uint32_t id = 1; id <= shape_.vsans; ++id) {
    for (const auto &[list, addresses] : vsan(id).mgmt_addrs) {
      visit(list);
    }
  }
}

void GeneratedFabric::mgmt_addrs(uint32_t list, const Visit<MgmtAddrEntry> &visit) {
  visit_list(vsan_of_list(list, mgmt_addr_lists_per_vsan(shape_)).mgmt_addrs, list, visit);
}

} // namespace fcsctl
