/**
 * A fabric that can be read in order, whether it stands in the store or is made up on the way.
 */
#pragma once

#include "common/text/octets.h"
#include "fabric.h"

#include <functional>
#include <string>

namespace fcs {

/** Each function calls `visit` for each row in ascending order of its key. */
class FabricSource {
public:
  template <typename Row> using Visit = std::function<void(const Row &)>;

  virtual ~FabricSource() = default;

  virtual std::string comment() = 0;
  virtual void vsans(const Visit<Vsan> &visit) = 0;
  virtual void elements(uint32_t vsan, const Visit<Element> &visit) = 0;
  virtual void ports(uint32_t port_list, const Visit<Port> &visit) = 0;
  virtual void attached_names(uint32_t list, const Visit<Octets> &visit) = 0;
  virtual void platforms(uint32_t vsan, const Visit<PlatformEntry> &visit) = 0;
  /** Every list that has rows, was declared, or is referred to. */
  virtual void node_name_lists(const Visit<uint32_t> &visit) = 0;
  virtual void node_names(uint32_t list, const Visit<NodeNameEntry> &visit) = 0;
  virtual void mgmt_addr_lists(const Visit<uint32_t> &visit) = 0;
  virtual void mgmt_addrs(uint32_t list, const Visit<MgmtAddrEntry> &visit) = 0;
};

} // namespace fcs
