#include "record_dispatch.h"

#include "service/reports/log.h"

#include <algorithm>
#include <cstring>

namespace fcs {

namespace {

/** Bits of the operations that a row of the table takes. */
constexpr uint32_t bit(FcsOperation operation) {
  return 1U << operation;
}
constexpr uint32_t kGet = bit(FCS_OP_GET);
constexpr uint32_t kRead = kGet | bit(FCS_OP_GETNEXT);
constexpr uint32_t kWrite = bit(FCS_OP_SET) | bit(FCS_OP_DELETE);

/** How a table tells that no row follows. */
enum class PastEnd {
  kRecord, ///< By a record whose first word is FCS_END_OF_TABLE.
  kResult, ///< By the result alone.
};

/** Room for records that a request has use for, as far as there is any, but at least for one. */
template <typename Record> std::span<Record> records_in(std::span<uint8_t> room, uint32_t useful) {
  const size_t fit = std::max<size_t>(room.size() / sizeof(Record), 1);
  return {reinterpret_cast<Record *>(room.data()), std::clamp<size_t>(useful, 1, fit)};
}

template <typename Record> Answer write_record(const Record &record, std::span<uint8_t> room) {
  static_assert(sizeof(Record) <= FCS_MESSAGE_ROOM);
  std::memcpy(room.data(), &record, sizeof(record));
  return {FCS_OK, sizeof(record)};
}

uint32_t first_word(const void *octets) {
  uint32_t word = 0;
  std::memcpy(&word, octets, sizeof(word));
  return word;
}

/** The key behind which the rows of a VSAN begin. */
template <typename Key> Key key_before(uint32_t vsan) {
  Key key{};
  const uint32_t word = sizeof(key) == sizeof(vsan) ? vsan - 1 : vsan;
  std::memcpy(&key, &word, sizeof(word));
  return key;
}

/** Rows that have been found. */
struct Found {
  size_t rows = 0;
  bool are_all = false; ///< No more of them follow.
};

/** Finds the rows after a key, but of each stretch of hidden VSANs the first one alone. */
template <typename Record, typename Find, typename Key>
Found find_shown(const Find &find, Key key, const ipc_wire::ShownVsans &shown,
                 std::span<Record> room) {
  Found found;
  while (found.rows < room.size()) {
    const std::span<Record> rest = room.subspan(found.rows);
    const std::span<Record> rows = rest.first(find(key, rest));
    const auto hidden = std::ranges::find_if_not(
        rows, [&shown](const Record &row) { return shown.contain(first_word(&row)); });
    if (hidden == rows.end()) {
      return {found.rows + rows.size(), rows.size() < rest.size()};
    }
    found.rows += static_cast<size_t>(hidden - rows.begin()) + 1;
    const uint32_t next = shown.next(first_word(&*hidden));
    if (next == 0) {
      break;
    }
    key = key_before<Key>(next);
  }
  return found;
}

/**
 * A record with a key: `find` looks for the row of the key, or for those after it. Where the
 * request is the record itself, its key words alone count.
 */
template <typename Key, typename Record,
          size_t (FabricRows::*find)(Lookup, const Key &, std::span<Record>), PastEnd past_end>
Answer answer_row(const RequestContext &context, FcsOperation operation, const uint8_t *request,
                  std::span<uint8_t> room) {
  Key key{};
  std::memcpy(&key, request, sizeof(key));
  const std::span<Record> records = records_in<Record>(room, context.rows);
  const auto find_next = [&](const Key &from, std::span<Record> rest) {
    return (context.store.rows().*find)(Lookup::kNext, from, rest);
  };
  Found found;
  if (operation == FCS_OP_GET) {
    if ((context.store.rows().*find)(Lookup::kExact, key, records.first(1)) == 0) {
      return {FCS_ERR_NO_SUCH_ROW, 0};
    }
    found.rows = 1;
  }
  const Found next = find_shown(find_next, key, context.shown, records.subspan(found.rows));
  found = {found.rows + next.rows, next.are_all};
  Answer answer{FCS_OK, 0};
  if (found.are_all && past_end == PastEnd::kRecord) {
    records[found.rows] = {};
    std::memcpy(&records[found.rows], &FCS_END_OF_TABLE, sizeof(FCS_END_OF_TABLE));
    ++found.rows;
  } else if (found.rows == 0) {
    return {FCS_ERR_NO_SUCH_ROW, 0};
  } else if (found.are_all) {
    answer.end = FCS_ERR_NO_SUCH_ROW;
  }
  answer.length = static_cast<uint32_t>(found.rows * sizeof(Record));
  answer.rows = static_cast<uint32_t>(found.rows);
  return answer;
}

/** A record without a key that is one word. */
template <uint32_t (FabricStore::*count)()>
Answer answer_word(const RequestContext &context, FcsOperation /*operation*/,
                   const uint8_t * /*request*/, std::span<uint8_t> room) {
  return write_record((context.store.*count)(), room);
}

/** A row to be set or deleted, answered by the result alone. */
template <typename Entry>
Answer apply_row(const RequestContext &context, FcsOperation operation, const uint8_t *request,
                 std::span<uint8_t> /*room*/) {
  Entry entry{};
  std::memcpy(&entry, request, sizeof(entry));
  return {context.configuration.apply(operation, entry, context.user), 0};
}

/** A record that is served, with the operations and the request that its handler takes. */
struct ServedRecord {
  FcsRecordId id;
  uint32_t operations;
  uint32_t request_length;
  Answer (*answer)(const RequestContext &context, FcsOperation operation, const uint8_t *request,
                   std::span<uint8_t> room);
};

/** A record whose rows are set and deleted, too; both take the whole record. */
template <typename Entry> constexpr ServedRecord written(FcsRecordId id) {
  return {id, kWrite, sizeof(Entry), apply_row<Entry>};
}

constexpr ServedRecord kServed[] = {
    {FCS_REC_DISCOVERY_STATUS, kRead, sizeof(uint32_t),
     answer_row<uint32_t, fcs_disc_status_record, &FabricRows::find_discovery_status,
                PastEnd::kRecord>},
    {FCS_REC_IE, kRead, sizeof(IeKey),
     answer_row<IeKey, IeEntry, &FabricRows::find_element, PastEnd::kRecord>},
    {FCS_REC_MGMT_ADDR, kRead, sizeof(MgmtAddrEntry),
     answer_row<MgmtAddrEntry, MgmtAddrEntry, &FabricRows::find_mgmt_addr, PastEnd::kResult>},
    written<MgmtAddrEntry>(FCS_REC_MGMT_ADDR),
    {FCS_REC_PORT_LIST, kRead, sizeof(FcsPortListRecord),
     answer_row<FcsPortListRecord, FcsPortListRecord, &FabricRows::find_port_list_entry,
                PastEnd::kRecord>},
    {FCS_REC_PORT, kRead, sizeof(FcsPortKey),
     answer_row<FcsPortKey, FcsPortRecord, &FabricRows::find_port, PastEnd::kResult>},
    {FCS_REC_ATTACH_PORT, kRead, sizeof(FcsAttachPortRecord),
     answer_row<FcsAttachPortRecord, FcsAttachPortRecord, &FabricRows::find_attached_name,
                PastEnd::kRecord>},
    {FCS_REC_PLATFORM, kRead, sizeof(PlatformKey),
     answer_row<PlatformKey, PlatformEntry, &FabricRows::find_platform, PastEnd::kResult>},
    written<PlatformEntry>(FCS_REC_PLATFORM),
    {FCS_REC_NODE_NAME, kRead, sizeof(NodeNameEntry),
     answer_row<NodeNameEntry, NodeNameEntry, &FabricRows::find_node_name, PastEnd::kResult>},
    written<NodeNameEntry>(FCS_REC_NODE_NAME),
    {FCS_REC_STATISTICS, kRead, sizeof(uint32_t),
     answer_row<uint32_t, FcsStatsRecord, &FabricRows::find_statistics, PastEnd::kResult>},
    {FCS_REC_TOTAL_REJECTS, kGet, 0, answer_word<&FabricStore::total_rejects>},
    {FCS_REC_IE_COUNT, kGet, 0, answer_word<&FabricStore::visible_elements>},
    {FCS_REC_PORT_COUNT, kGet, 0, answer_word<&FabricStore::visible_ports>},
    {FCS_REC_PLATFORM_COUNT, kGet, 0, answer_word<&FabricStore::platforms>},
    {FCS_REC_REJECT_TRAP, kGet, 0, answer_word<&FabricStore::wants_reject_notifications>},
    {FCS_REC_COMPLETE_TRAP, kGet, 0, answer_word<&FabricStore::wants_complete_notifications>},
};

Answer run(const ServedRecord &record, const RequestContext &context, uint32_t operation,
           Octets request, std::span<uint8_t> room) {
  if (request.size() != record.request_length) {
    return {FCS_ERR_BAD_LENGTH, 0};
  }
  try {
    return record.answer(context, static_cast<FcsOperation>(operation), request.data(), room);
  } catch (const SqliteError &error) {
    log_line("cannot use the store %s for record %d: %s", context.store.path().c_str(), record.id,
             error.what());
    return {result_of(error), 0};
  }
}

} // namespace

Answer answer_request(const RequestContext &context, uint32_t operation, Octets request,
                      std::span<uint8_t> room) {
  uint32_t id = 0;
  if (request.size() < sizeof(id)) {
    return {FCS_ERR_BAD_LENGTH, 0};
  }
  std::memcpy(&id, request.data(), sizeof(id));
  int32_t fault = FCS_ERR_NO_SUCH_RECORD;
  for (const ServedRecord &record : kServed) {
    if (record.id != id) {
      continue;
    }
    if (operation < 32 && (record.operations & 1U << operation) != 0) {
      return run(record, context, operation, request.subspan(sizeof(id)), room);
    }
    fault = FCS_ERR_BAD_OPERATION;
  }
  return {fault, 0};
}

} // namespace fcs
