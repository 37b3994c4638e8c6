/**
 * A platform that records: whatever the module does to its surroundings becomes one line in one
 * ordered list, and what it gets back is what the test has laid down.
 */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "feature/fabric_conf_server/snmp/fcs_mib.h"

#include <cstring>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;
using Bytes = std::vector<uint8_t>;

/** What the service answers a request with. */
struct Reply {
  int32_t result;
  std::optional<Bytes> response;
};

struct Request {
  uint32_t operation;
  uint32_t record_id;
  Bytes payload;
  /** The 32-bit word at an offset of the payload. */
  uint32_t word(size_t offset) const;
};

/** A set of VSANs by their numbers. */
struct Vsans : VsanBitmap {
  Vsans(std::initializer_list<uint32_t> vsans = {});
};

/** A message that the module has sent to itself. */
struct SentMessage {
  uint32_t opcode;
  Bytes payload;
};

struct RecordingPlatform {
  Lines lines;
  bool recording = true; ///< Whether there are lines at all.

  std::function<Reply(const Request &)> service = [](const Request &) { return Reply{2, {}}; };
  bool restricted = false; ///< Whether the user's role restricts the VSANs.
  Vsans readable;          ///< The VSANs it allows.
  bool role_fails = false; ///< Whether role_allowed_vsans_from_list fails.
  bool role_refuses_writes = false;
  /** What agent_notif_enable_get and agent_notif_enable_set answer. */
  std::function<int32_t()> notif_enabled = [] { return 0; };
  std::function<int32_t()> enable_result = [] { return 0; };
  bool history_filtered = false;
  bool console = false; ///< Whether the console's lines are recorded, formats first.
  bool agent_debugging = false;
  int register_result = MIB_REGISTERED_OK;
  std::set<int> failing_stores; ///< Which calls of row_index_create fail, counted from 1.
  int stores_created = 0;
  bool failing_adds = false; ///< Whether the stores take no row.

  /** The variables that register_mib was first called with, with whole names. */
  std::vector<variable> registered;
  std::map<uint32_t, AgentNotifHandler *> handlers; ///< Of notifications, by opcode.
  std::vector<SentMessage> sent;

  const variable &registered_for(FcsObject object) const;
};

/** The running test's platform; every test starts with a new one and an initialised module. */
extern RecordingPlatform platform;

/** Gives the platform back its defaults, what the module has registered apart. */
void reset_platform();

/** Resets the platform, initialises the module, and drops the lines of it. */
void start_module();

/** The lines that `action` leaves, standard output and error included. */
Lines lines_of(const std::function<void()> &action);

/** Its traces among them, but for those of the exchange. */
Lines traces_of(const std::function<void()> &action);

/** How many rows are in the pending-row stores. */
size_t pending_rows();

/** A message of the service; its payload is followed by zeros to the end of the room. */
struct IpcMessage {
  explicit IpcMessage(const Bytes &octets);
  uint8_t payload[IPC_MESSAGE_ROOM];
};

/** Octets of a record or word, as they lie in memory. */
template <typename Record> Bytes bytes_of(const Record &record) {
  const auto *first = reinterpret_cast<const uint8_t *>(&record);
  return {first, first + sizeof(record)};
}

/** The positions of the bits that are set. */
std::vector<int32_t> bits_of(const VsanBitmap &bitmap);
