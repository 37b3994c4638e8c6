/**
 * Reads the whole fabric out of the store, in order, as it was at one moment.
 */
#pragma once

#include "fabric_store.h"
#include "row_sql.h"
#include "service/fabric/fabric_source.h"

namespace fcs {

/** One read transaction. The functions throw SqliteError when the database fails. */
class FabricReader : public FabricSource {
public:
  explicit FabricReader(FabricStore &store);
  FabricReader(const FabricReader &) = delete;
  FabricReader &operator=(const FabricReader &) = delete;
  ~FabricReader() override = default;

  std::string comment() override;
  void vsans(const Visit<Vsan> &visit) override;
  void elements(uint32_t vsan, const Visit<Element> &visit) override {
    visit_rows(elements_, visit, vsan);
  }
  void ports(uint32_t port_list, const Visit<Port> &visit) override {
    visit_rows(ports_, visit, port_list);
  }
  void attached_names(uint32_t list, const Visit<Octets> &visit) override;
  void platforms(uint32_t vsan, const Visit<PlatformEntry> &visit) override {
    visit_rows(platforms_, visit, vsan);
  }
  void node_name_lists(const Visit<uint32_t> &visit) override {
    visit_rows(node_name_lists_, visit);
  }
  void node_names(uint32_t list, const Visit<NodeNameEntry> &visit) override {
    visit_rows(node_names_, visit, list);
  }
  void mgmt_addr_lists(const Visit<uint32_t> &visit) override {
    visit_rows(mgmt_addr_lists_, visit);
  }
  void mgmt_addrs(uint32_t list, const Visit<MgmtAddrEntry> &visit) override {
    visit_rows(mgmt_addrs_, visit, list);
  }

private:
  template <typename Row, typename... Key>
  static void visit_rows(Statement &statement, const Visit<Row> &visit, const Key &...key) {
    auto rows = statement.run(key...);
    while (rows.next()) {
      visit(read_row<Row>(rows));
    }
  }

  ReadTransaction transaction_;
  Statement fabric_, vsans_, elements_, ports_, attached_names_, platforms_;
  Statement node_name_lists_, node_names_, mgmt_addr_lists_, mgmt_addrs_;
};

} // namespace fcs
