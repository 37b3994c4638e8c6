/**
 * A platform that answers from memory: all that platform/ asks for, without a process or a file
 * beside it. It tells whoever listens of each call, and its members say what it answers and what
 * fails.
 */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "platform/agent_host.h"
#include "platform/bitmap.h"
#include "platform/ipc.h"
#include "platform/row_index.h"

#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

/** What the FCS service answers a request with. */
struct Reply {
  int32_t result;
  std::optional<Bytes> response;
};

struct Request {
  uint32_t opcode;
  uint32_t flag;      ///< FcsOperation of a record request.
  uint32_t record_id; ///< Of a record request.
  Bytes payload;      ///< Behind the record id.
};

/** The FCS service in memory: records, and messages that nothing comes of. */
class MemoryFabric {
public:
  /** Keeps a record in place of the one with its key. */
  void add(uint32_t record_id, const Bytes &record);
  Reply answer(const Request &request);

private:
  /** As long as it takes, and compared word by word. */
  using Key = std::u32string;
  std::map<uint32_t, std::map<Key, Bytes>> records_;
};

struct MemoryPlatform {
  MemoryFabric fabric;
  std::function<Reply(const Request &)> service; ///< In place of the fabric, if there is one.
  int32_t restricted = 0;                        ///< Whether the user's role restricts the VSANs,
  VsanBitmap readable = {VSAN_WHOLE_BYTES, {}};  ///< and those that it allows.
  int32_t role_fails = 0;                        ///< Whether nobody can tell the role,
  int32_t role_refuses_writes = 0;               ///< or it allows no list.
  int32_t notif_enabled = 0; ///< What agent_notif_enable_get and agent_notif_enable_set answer.
  int32_t enable_result = 0;
  int32_t history_filtered = 1;
  int32_t console = 0;        ///< Whether the console's lines are told.
  int32_t failing_stores = 0; ///< Bit n: the n-th call of row_index_create fails.
  int32_t stores_created = 0;
  int32_t failing_adds = 0; ///< Whether the containers take no row,
  std::vector<std::unique_ptr<void, decltype(&free)>> not_taken; ///< and those that they refused.

  std::map<uint32_t, AgentNotifHandler *> handlers; ///< Of notifications, by opcode.
  struct Message {
    uint32_t opcode;
    Bytes payload;
  };
  std::vector<Message> sent; ///< By the module to itself.

  bool listening = false; ///< Whether there are lines at all.
  std::vector<std::string> lines;
};

extern MemoryPlatform platform;

/** One more line, of these parts with blanks between them. */
template <typename... Parts> void tell(const Parts &...parts) {
  if (platform.listening) {
    std::ostringstream line;
    ((line << ' ' << parts), ...);
    platform.lines.push_back(line.str().substr(1));
  }
}

/** Octets in a line: "<30 0a0b>". \param form What tells how to read them. */
std::string shown(const std::string &form, const void *octets, size_t length);
std::string shown(const oid *name, size_t length);
/** The positions of the bits that are set. */
std::string shown(const VsanBitmap &bitmap);

/**
 * Has the handler of the opcode take a message, without a payload none.
 * \return the SNMP notification that it raises, snmpTrapOID in front: the caller's; null for none.
 */
netsnmp_variable_list *deliver(uint32_t opcode, const std::optional<Bytes> &payload);

void row_index_each(const RowIndex *store, const std::function<void(void *row)> &visit);

/** Destroys a container, and frees the rows left in it; null is none. */
void row_index_release(RowIndex *store);
