/**
 * A platform that records: whatever the module does to its surroundings becomes one line in one
 * ordered list, and what it gets back is what the test has laid down.
 */
#pragma once

#include "feature/fabric_conf_server/snmp/fcs_mib.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;
using Bytes = std::vector<uint8_t>;

/** What the service answers a request with. */
struct Reply {
  int32_t result;
  Bytes response;
};

struct Request {
  uint32_t operation;
  uint32_t record_id;
  Bytes payload;
  /** The 32-bit word at an offset of the payload. */
  uint32_t word(size_t offset) const;
};

struct RecordingPlatform {
  Lines lines;

  std::function<Reply(const Request &)> service = [](const Request &) { return Reply{2, {}}; };
  bool restricted = false;     ///< Whether the user's role restricts the VSANs.
  std::set<uint32_t> readable; ///< The VSANs it allows.
  bool role_fails = false;     ///< Whether role_allowed_vsans_from_list fails.
  bool role_refuses_writes = false;
  int32_t notif_enabled = 0;
  int32_t enable_result = 0; ///< What agent_notif_enable_set answers.
  bool history_filtered = false;
  bool console = false;
  bool agent_debugging = false;
  int register_result = MIB_REGISTERED_OK;
  std::set<int> failing_stores; ///< Which calls of row_index_create fail, counted from 1.
  int stores_created = 0;
  bool failing_adds = false; ///< Whether the stores take no row.

  std::vector<Request> changes; ///< The records that were to be set or deleted.

  /** The variables of the last register_mib, with whole names. */
  std::vector<variable> registered;

  const variable &registered_for(FcsObject object) const;
};

/** The platform of the test that is running; every test starts with a new one and an initialised
 * module. */
extern RecordingPlatform platform;

/** Resets the platform, initialises the module, and drops the lines of it. */
void start_module();

/** The lines that `action` leaves, standard output and error included. */
Lines lines_of(const std::function<void()> &action);

/** What a read handler answered. */
struct Answer {
  std::optional<Bytes> value; ///< Absent: no instance.
  std::vector<oid> index;     ///< What follows the column in the request's OID afterwards.
  WriteMethod *write_method;
  /** The value of an integer object. */
  int64_t word() const;
};

/** Has the handler of an object answer a request for the column followed by `index`. */
Answer read_object(FcsObject object, const std::vector<oid> &index, bool exact);

/** The phases of a SET, under names that GoogleMock leaves alone. */
enum Phase : int {
  kReserve1 = RESERVE1,
  kReserve2 = RESERVE2,
  kAction = ACTION,
  kCommit = COMMIT,
  kFree = FREE,
  kUndo = UNDO
};

/**
 * Has a write handler run through phases of a SET of instance 0 of its object, until one fails.
 * \return the status of the last phase that ran.
 */
int write_object(FcsObject object, u_char type, const Bytes &value,
                 const std::vector<int> &phases = {kReserve1, kReserve2, kAction, kCommit});

/** A variable binding of a SET of rows. */
struct Binding {
  FcsObject object;
  std::vector<oid> index;
  u_char type;
  Bytes value;
};

/**
 * A whole SET, phase by phase over its bindings as the agent goes. Its lines are those of the write
 * handlers alone. \return the status of the first binding that failed.
 */
int write_set(const std::vector<Binding> &bindings);

/** How many rows are in the pending-row stores. */
size_t pending_rows();

/** A message of the service; its payload is followed by zeros to the end of the room. */
struct IpcMessage {
  explicit IpcMessage(const Bytes &octets);
  uint8_t payload[IPC_MESSAGE_ROOM];
};

/** What a handler of notifications asked for. */
struct Raised {
  bool send;
  std::vector<oid> trap_oid;
  Lines bindings; ///< "OID type: octets" each.
};

Raised notify(AgentNotifHandler *handler, const IpcMessage *message);

/** Octets of a record or word, as they lie in memory. */
template <typename Record> Bytes bytes_of(const Record &record) {
  const auto *first = reinterpret_cast<const uint8_t *>(&record);
  return {first, first + sizeof(record)};
}
