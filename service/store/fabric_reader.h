/**
 * Reads the whole fabric out of the store, in order, as it was at one moment.
 */
#pragma once

#include "fabric_store.h"
#include "service/fabric/fabric_source.h"

namespace fcs {

/** One read transaction. The functions throw SqliteError when the database fails. */
class FabricReader : public FabricSource {
public:
  explicit FabricReader(FabricStore &store);
  FabricReader(const FabricReader &) = delete;
  FabricReader &operator=(const FabricReader &) = delete;
  ~FabricReader() override;

  std::string comment() override;
  void vsans(const Visit<Vsan> &visit) override;
  void elements(uint32_t vsan, const Visit<Element> &visit) override;
  void ports(uint32_t port_list, const Visit<Port> &visit) override;
  void attached_names(uint32_t list, const Visit<Octets> &visit) override;
  void platforms(uint32_t vsan, const Visit<Platform> &visit) override;
  void node_name_lists(const Visit<uint32_t> &visit) override;
  void node_names(uint32_t list, const Visit<NodeName> &visit) override;
  void mgmt_addr_lists(const Visit<uint32_t> &visit) override;
  void mgmt_addrs(uint32_t list, const Visit<MgmtAddr> &visit) override;

private:
  ReadTransaction transaction_;
  Statement fabric_, vsans_, elements_, ports_, attached_names_, platforms_;
  Statement node_name_lists_, node_names_, mgmt_addr_lists_, mgmt_addrs_;
};

} // namespace fcs
