/**
 * Reads the whole fabric out of the store, in order, as it was at one moment.
 */
#pragma once

#include "service/fabric.h"
#include "service/fabric_store.h"

#include <functional>
#include <string>
#include <vector>

namespace fcs {

/**
 * One read transaction. Each function calls `visit` for each row in ascending order of its key, and
 * throws SqliteError when the database fails.
 */
class FabricReader {
public:
  template <typename Row> using Visit = std::function<void(const Row &)>;

  explicit FabricReader(FabricStore &store);
  FabricReader(const FabricReader &) = delete;
  FabricReader &operator=(const FabricReader &) = delete;
  ~FabricReader();

  std::string comment();
  void vsans(const Visit<Vsan> &visit);
  void elements(uint32_t vsan, const Visit<Element> &visit);
  void ports(uint32_t port_list, const Visit<Port> &visit);
  void attached_names(uint32_t list, const Visit<Octets> &visit);
  void platforms(uint32_t vsan, const Visit<Platform> &visit);
  /** Every list that has rows, was declared, or is referred to. */
  void node_name_lists(const Visit<uint32_t> &visit);
  void node_names(uint32_t list, const Visit<NodeName> &visit);
  void mgmt_addr_lists(const Visit<uint32_t> &visit);
  void mgmt_addrs(uint32_t list, const Visit<MgmtAddr> &visit);

private:
  struct Transaction {
    explicit Transaction(Database &database);
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    ~Transaction();
    Database &database;
  };

  Transaction transaction_;
  Statement fabric_, vsans_, elements_, ports_, attached_names_, platforms_;
  Statement node_name_lists_, node_names_, mgmt_addr_lists_, mgmt_addrs_;
};

} // namespace fcs
