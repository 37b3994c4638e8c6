#include "service/record_dispatch.h"

#include "service/log.h"

#include <cstring>

namespace fcs {

namespace {

/** Bits of the operations that a row of the table takes. */
constexpr uint32_t bit(FcsOperation operation) {
  return 1U << operation;
}
constexpr uint32_t kGet = bit(FCS_OP_GET);
constexpr uint32_t kRead = kGet | bit(FCS_OP_GETNEXT);

/** How a table tells that no row follows. */
enum class PastEnd {
  kRecord, ///< By a record whose first word is FCS_END_OF_TABLE.
  kResult, ///< By the result alone.
};

template <typename Record> Answer write_record(const Record &record, std::span<uint8_t> room) {
  static_assert(sizeof(Record) <= FCS_MESSAGE_ROOM);
  std::memcpy(room.data(), &record, sizeof(record));
  return {FCS_OK, sizeof(record)};
}

/**
 * A record with a key: `find` looks for the row of the key, or for the one after it. Where the
 * request is the record itself, its key words alone count.
 */
template <typename Key, typename Record, bool (FabricRows::*find)(Lookup, const Key &, Record &),
          PastEnd past_end>
Answer answer_row(FabricStore &store, FcsOperation operation, const uint8_t *request,
                  std::span<uint8_t> room) {
  Key key{};
  std::memcpy(&key, request, sizeof(key));
  Record record{};
  const Lookup lookup = operation == FCS_OP_GETNEXT ? Lookup::kNext : Lookup::kExact;
  if ((store.rows().*find)(lookup, key, record)) {
    return write_record(record, room);
  }
  if (lookup == Lookup::kNext && past_end == PastEnd::kRecord) {
    std::memcpy(&record, &FCS_END_OF_TABLE, sizeof(FCS_END_OF_TABLE));
    return write_record(record, room);
  }
  return {FCS_ERR_NO_SUCH_ROW, 0};
}

/** A record without a key that is one word. */
template <uint32_t (FabricStore::*count)()>
Answer answer_word(FabricStore &store, FcsOperation /*operation*/, const uint8_t * /*request*/,
                   std::span<uint8_t> room) {
  return write_record((store.*count)(), room);
}

/** A record that is served, with the operations and the request that its handler takes. */
struct ServedRecord {
  FcsRecordId id;
  uint32_t operations;
  uint32_t request_length;
  Answer (*answer)(FabricStore &store, FcsOperation operation, const uint8_t *request,
                   std::span<uint8_t> room);
};

constexpr ServedRecord kServed[] = {
    {FCS_REC_DISCOVERY_STATUS, kRead, sizeof(uint32_t),
     answer_row<uint32_t, fcs_disc_status_record, &FabricRows::find_discovery_status,
                PastEnd::kRecord>},
    {FCS_REC_IE, kRead, sizeof(IeKey),
     answer_row<IeKey, IeEntry, &FabricRows::find_element, PastEnd::kRecord>},
    {FCS_REC_MGMT_ADDR, kRead, sizeof(MgmtAddrEntry),
     answer_row<MgmtAddrEntry, MgmtAddrEntry, &FabricRows::find_mgmt_addr, PastEnd::kResult>},
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
    {FCS_REC_NODE_NAME, kRead, sizeof(NodeNameEntry),
     answer_row<NodeNameEntry, NodeNameEntry, &FabricRows::find_node_name, PastEnd::kResult>},
    {FCS_REC_STATISTICS, kRead, sizeof(uint32_t),
     answer_row<uint32_t, FcsStatsRecord, &FabricRows::find_statistics, PastEnd::kResult>},
    {FCS_REC_TOTAL_REJECTS, kGet, 0, answer_word<&FabricStore::total_rejects>},
    {FCS_REC_IE_COUNT, kGet, 0, answer_word<&FabricStore::visible_elements>},
    {FCS_REC_PORT_COUNT, kGet, 0, answer_word<&FabricStore::visible_ports>},
    {FCS_REC_PLATFORM_COUNT, kGet, 0, answer_word<&FabricStore::platforms>},
    {FCS_REC_REJECT_TRAP, kGet, 0, answer_word<&FabricStore::wants_reject_notifications>},
    {FCS_REC_COMPLETE_TRAP, kGet, 0, answer_word<&FabricStore::wants_complete_notifications>},
};

Answer run(const ServedRecord &record, FabricStore &store, uint32_t operation, Octets request,
           std::span<uint8_t> room) {
  if (request.size() != record.request_length) {
    return {FCS_ERR_BAD_LENGTH, 0};
  }
  try {
    return record.answer(store, static_cast<FcsOperation>(operation), request.data(), room);
  } catch (const SqliteError &error) {
    log_line("cannot read the store %s for record %d: %s", store.path().c_str(), record.id,
             error.what());
    return {FCS_ERR_STORE, 0};
  }
}

} // namespace

Answer answer_request(FabricStore &store, uint32_t operation, Octets request,
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
      return run(record, store, operation, request.subspan(sizeof(id)), room);
    }
    fault = FCS_ERR_BAD_OPERATION;
  }
  return {fault, 0};
}

} // namespace fcs
