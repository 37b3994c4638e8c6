/**
 * A platform that records: whatever the module does to its surroundings becomes one line in one
 * ordered list, and what it gets back is what the test has laid down.
 */
#pragma once

#include "records.h"

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "feature/fabric_conf_server/snmp/fcs_mib.h"

#include <functional>
#include <map>
#include <optional>

/** What the service answers a request with. */
struct Reply {
  int32_t result;
  std::optional<Bytes> response;
};

struct Request {
  uint32_t opcode;
  uint32_t flag;      ///< FcsOperation of a record request.
  uint32_t record_id; ///< Of a record request.
  Bytes payload;
};

/** A request as its line has it, of a read the key alone: "get 90 7", "send 1405/0 1 0". */
std::string text_of(const Request &request);

/** A request among the lines, and the lines that always go with it: see fcs_exchange.h. */
struct Exchange {
  size_t line;
  Lines before, after;
};

/** A message that the module has sent to itself. */
struct SentMessage {
  uint32_t opcode;
  Bytes payload;
};

struct RecordingPlatform {
  Lines lines;
  std::vector<Exchange> exchanges;
  bool recording = true; ///< Whether there are lines at all.

  std::function<Reply(const Request &)> service = [](const Request &) { return Reply{2, {}}; };
  int32_t restricted = 0; ///< Whether the user's role restricts the VSANs,
  VsanBitmap readable = {sizeof(VsanBitmap::bytes), {}}; ///< and those that it allows.
  int32_t role_fails = 0; ///< Whether role_allowed_vsans_from_list fails.
  int32_t role_refuses_writes = 0;
  int32_t notif_enabled = 0; ///< What agent_notif_enable_get and agent_notif_enable_set answer.
  int32_t enable_result = 0;
  int32_t history_filtered = 0;
  int32_t console = 0; ///< Whether the console's lines are recorded, formats first.
  int32_t agent_debugging = 0;
  int32_t register_result = MIB_REGISTERED_OK;
  int32_t failing_stores = 0; ///< Bit n: the n-th call of row_index_create fails.
  int32_t stores_created = 0;
  int32_t failing_adds = 0; ///< Whether the stores take no row.

  /** The variables that register_mib was first called with, with whole names. */
  std::vector<variable> registered;
  std::map<uint32_t, AgentNotifHandler *> handlers; ///< Of notifications, by opcode.
  std::vector<SentMessage> sent;
};

/** The running test's platform; every test starts with a new one and an initialised module. */
extern RecordingPlatform platform;

/** Gives the platform its defaults, and the module the state that it is loaded with. */
void start_module();

/** The lines that `action` leaves, standard output ("1>") and error ("2>") included. */
Lines lines_of(const std::function<void()> &action);

/** One more line, of these parts. */
void record(const std::string &line);

/** The rows in the pending-row stores: "record id: fields" each. */
Lines pending_rows();

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
std::string text_of(const VsanBitmap &bitmap);

/** Sub-identifiers with dots between them, without the module root where they begin with it. */
std::string text_of(const oid *name, size_t length);
