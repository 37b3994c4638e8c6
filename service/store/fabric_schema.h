/**
 * The store's tables. Words are stored as the unsigned numbers they are; names are blobs, which
 * SQLite compares octet by octet.
 */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"

namespace fcs {

/** Tells a store of this service from other databases: "FCSf". */
constexpr int kApplicationId = 0x46435366;
/** Changes with every change of the tables; each of them is one of kSchemaAdditions. */
constexpr int kSchemaVersion = 5;
/** The first version that can be brought up to date: that of kSchema, where a new store begins. */
constexpr int kOldestSchemaVersion = 2;

/**
 * Frozen, as there are stores that were made by it. What is new is added below, a column by ALTER
 * TABLE with a default for the rows that are there, and described in fabric_columns.h.
 *
 * The counts in `vsan` are kept by whoever adds or removes rows, because counting a large fabric
 * anew for every request would take longer than the agent waits.
 *
 * A port belongs to the element that has its port list. Its `local` repeats its element's, and an
 * attached name's `vsan` and `local` repeat its port's: whether a row is visible is a matter of
 * these two and the status of the VSAN, and the indexes named after them lead past all that is not.
 */
constexpr char kSchema[] = R"(
CREATE TABLE fabric (
  id INTEGER PRIMARY KEY CHECK (id = 1),
  comment BLOB NOT NULL
) STRICT;

CREATE TABLE vsan (
  id INTEGER PRIMARY KEY,
  status INTEGER NOT NULL,
  completed_seconds INTEGER NOT NULL,
  completed_microseconds INTEGER NOT NULL,
  takes_seconds REAL NOT NULL,
  rx_get_reqs INTEGER NOT NULL,
  tx_get_reqs INTEGER NOT NULL,
  rx_reg_reqs INTEGER NOT NULL,
  rx_dereg_reqs INTEGER NOT NULL,
  tx_reg_reqs INTEGER NOT NULL,
  tx_dereg_reqs INTEGER NOT NULL,
  rx_rscns INTEGER NOT NULL,
  tx_rscns INTEGER NOT NULL,
  rejects INTEGER NOT NULL,
  elements INTEGER NOT NULL DEFAULT 0,
  local_elements INTEGER NOT NULL DEFAULT 0,
  ports INTEGER NOT NULL DEFAULT 0,
  local_ports INTEGER NOT NULL DEFAULT 0,
  platforms INTEGER NOT NULL DEFAULT 0
) STRICT;
CREATE INDEX vsan_discovered ON vsan (id) WHERE status <> 3;

CREATE TABLE element (
  vsan INTEGER NOT NULL,
  name BLOB NOT NULL,
  type INTEGER NOT NULL,
  domain_id INTEGER NOT NULL,
  mgmt_id BLOB NOT NULL,
  fabric_name BLOB NOT NULL,
  logical_name BLOB NOT NULL,
  mgmt_addr_list INTEGER NOT NULL,
  info_list BLOB NOT NULL,
  port_list INTEGER NOT NULL,
  local INTEGER NOT NULL,
  PRIMARY KEY (vsan, name)
) STRICT, WITHOUT ROWID;
CREATE UNIQUE INDEX element_local ON element (vsan) WHERE local = 1;
CREATE UNIQUE INDEX element_port_list ON element (port_list) WHERE port_list <> 0;

CREATE TABLE port (
  vsan INTEGER NOT NULL,
  name BLOB NOT NULL,
  port_list INTEGER NOT NULL,
  local INTEGER NOT NULL,
  type INTEGER NOT NULL,
  tx_type INTEGER NOT NULL,
  module_type INTEGER NOT NULL,
  physical_port INTEGER NOT NULL,
  attached_list INTEGER NOT NULL,
  state INTEGER NOT NULL,
  PRIMARY KEY (vsan, name)
) STRICT, WITHOUT ROWID;
CREATE INDEX port_local ON port (vsan, name) WHERE local = 1;
CREATE INDEX port_port_list ON port (port_list, name);
CREATE INDEX port_port_list_local ON port (port_list, name) WHERE local = 1;
CREATE INDEX port_port_list_vsan ON port (vsan, port_list);
CREATE UNIQUE INDEX port_attached_list ON port (attached_list) WHERE attached_list <> 0;

CREATE TABLE attached_name (
  list INTEGER NOT NULL,
  name BLOB NOT NULL,
  vsan INTEGER NOT NULL,
  local INTEGER NOT NULL,
  PRIMARY KEY (list, name)
) STRICT, WITHOUT ROWID;
CREATE INDEX attached_name_local ON attached_name (list, name) WHERE local = 1;
CREATE INDEX attached_name_vsan ON attached_name (vsan, list);

CREATE TABLE platform (
  vsan INTEGER NOT NULL,
  platform_index INTEGER NOT NULL,
  name BLOB NOT NULL,
  type INTEGER NOT NULL,
  node_name_list INTEGER NOT NULL,
  mgmt_addr_list INTEGER NOT NULL,
  configured INTEGER NOT NULL,
  validation_result INTEGER NOT NULL,
  PRIMARY KEY (vsan, platform_index)
) STRICT, WITHOUT ROWID;
CREATE UNIQUE INDEX platform_name ON platform (vsan, name) WHERE length(name) > 0;

CREATE TABLE node_name_list (list INTEGER PRIMARY KEY) STRICT;
CREATE TABLE node_name (
  list INTEGER NOT NULL,
  name BLOB NOT NULL,
  configured INTEGER NOT NULL,
  PRIMARY KEY (list, name)
) STRICT, WITHOUT ROWID;
CREATE UNIQUE INDEX node_name_name ON node_name (name);

CREATE TABLE mgmt_addr_list (list INTEGER PRIMARY KEY) STRICT;
CREATE TABLE mgmt_addr (
  list INTEGER NOT NULL,
  address_index INTEGER NOT NULL,
  address BLOB NOT NULL,
  configured INTEGER NOT NULL,
  PRIMARY KEY (list, address_index)
) STRICT, WITHOUT ROWID;
)";

/** What the service itself is told to do; a new fabric leaves it as it is. */
constexpr char kSettingsSchema[] = R"(
CREATE TABLE settings (
  id INTEGER PRIMARY KEY CHECK (id = 1),
  discovery_timeout INTEGER NOT NULL,
  reject_notifications INTEGER NOT NULL,
  complete_notifications INTEGER NOT NULL
) STRICT;
INSERT INTO settings VALUES (1, 900, 1, 1);
)";
static_assert(FCS_DEFAULT_DISC_TIMEOUT == 900, "a new store begins with what a new agent shows");

/** Leads from a management address to the elements that have it. */
constexpr char kElementAddressIndex[] = R"(
CREATE INDEX element_mgmt_addr_list ON element (mgmt_addr_list) WHERE mgmt_addr_list <> 0;
)";

/** Tells a fabric from the one that it has replaced. */
constexpr char kFabricGeneration[] = R"(
ALTER TABLE fabric ADD COLUMN generation INTEGER NOT NULL DEFAULT 0;
)";

/** What has come since the oldest version, in its order; frozen, too, but for its end. */
struct SchemaAddition {
  int version; ///< The first that has it.
  const char *sql;
};
constexpr SchemaAddition kSchemaAdditions[] = {
    {3, kSettingsSchema}, {4, kElementAddressIndex}, {5, kFabricGeneration}};

} // namespace fcs
