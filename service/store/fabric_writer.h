/**
 * Replaces the fabric in the store, whole or not at all.
 */
#pragma once

#include "fabric_store.h"
#include "row_sql.h"

#include <stdexcept>
#include <string>

namespace fcs {

/** A row that may stand only once is there already. */
class DuplicateRow : public std::runtime_error {
public:
  explicit DuplicateRow(const std::string &column)
      : std::runtime_error("a row with the same " + column + " is there already") {
    column_ = column;
  }
  /** The last column of the key that is taken, as table.column. */
  const std::string &column() const { return column_; }

private:
  std::string column_;
};

/**
 * One transaction that starts by removing the whole fabric. Without a commit it leaves everything
 * as it was. The functions throw SqliteError when the database fails, and those that add a row
 * DuplicateRow.
 */
class FabricWriter {
public:
  explicit FabricWriter(FabricStore &store);
  FabricWriter(const FabricWriter &) = delete;
  FabricWriter &operator=(const FabricWriter &) = delete;
  ~FabricWriter() = default;

  void set_comment(const std::string &comment);
  void add(const Vsan &vsan) { insert(vsan_, vsan); }
  void add(const Element &element) { insert(element_, element); }
  void add(const Port &port) { insert(port_, port); }
  void add(const AttachedName &name) { insert(attached_name_, name); }
  void add(const PlatformEntry &platform) { insert(platform_, platform); }
  void add_node_name_list(uint32_t list) { insert(node_name_list_, list); }
  void add(const NodeNameEntry &name) { insert(node_name_, name); }
  void add_mgmt_addr_list(uint32_t list) { insert(mgmt_addr_list_, list); }
  void add(const MgmtAddrEntry &address) { insert(mgmt_addr_, address); }
  /** Brings the VSAN's counts of rows up to date; due after its last row. */
  void count_rows(uint32_t vsan);
  /** Makes the new fabric durable and visible to everybody. */
  void commit();

private:
  template <typename Row> static void insert(Statement &statement, const Row &row) {
    try {
      insert_row(statement, row);
    } catch (const SqliteError &error) {
      refuse(error);
    }
  }
  [[noreturn]] static void refuse(const SqliteError &error);

  /** Begins by removing the whole fabric. */
  struct Replacement {
    explicit Replacement(FabricStore &store);
    WriteTransaction transaction;
  };

  Replacement replacement_;
  Statement fabric_, vsan_, element_, port_, attached_name_, platform_;
  Statement node_name_list_, node_name_, mgmt_addr_list_, mgmt_addr_, count_;
};

} // namespace fcs
