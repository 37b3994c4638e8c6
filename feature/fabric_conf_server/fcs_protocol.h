// SPDX-License-Identifier: BSD-3-Clause
/**
 * The protocol between the SNMP module and the FCS service: message opcodes, record ids, operation
 * codes, results and record layouts. Both sides include this header; all of it stands here alone.
 *
 * Both ends live on one machine, so words travel as they lie in memory and are never converted.
 * World-wide names, management identifiers and texts are octets, and octets keep their order.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/** Service id of the FCS service in the platform's messaging. */
constexpr uint32_t FCS_SERVICE_ID = 20;

/** Longest request or response record, in octets. */
constexpr uint32_t FCS_MESSAGE_ROOM = 1024;

/** Message opcodes: requests to the service, and the notifications it sends. */
enum FcsMessage : uint32_t {
  FCS_MSG_REQUEST = 1402,           ///< A record request: FcsRequest, with an FcsOperation as flag.
  FCS_MSG_START_DISCOVERY = 1405,   ///< Start discovery on a VSAN: FcsStartDiscovery, flag 0.
  FCS_MSG_REG_REQ_REJ = 1407,       ///< Notification: a registration request was rejected.
  FCS_MSG_DISC_COMPLETE = 1408,     ///< Notification: a named discovery is complete.
  FCS_MSG_DISC_COMP_ON_VSAN = 1409, ///< Notification: discovery is complete on one VSAN.
  FCS_MSG_SET_DISC_TIMEOUT = 1410,  ///< Set the discovery time-out: one word, FCS_OP_SET.
  FCS_MSG_TIMEOUT_ON_VSAN = 1411,   ///< Notification: discovery timed out on one VSAN.
  FCS_MSG_INVALIDATE_CACHE = 1412, ///< Forget what discovery found on a VSAN: one word, FCS_OP_SET.
  FCS_MSG_IP_ADDR_CHANGE = 1415,   ///< Notification: a management address has changed.
};

/** What a record request asks for; travels as the message's request flag. */
enum FcsOperation : uint32_t {
  FCS_OP_GET = 1,     ///< The record with exactly this key; also every keyless request.
  FCS_OP_GETNEXT = 2, ///< The first record whose key follows the given key.
  FCS_OP_SET = 3,     ///< Create or change a record.
  FCS_OP_DELETE = 4,  ///< Delete a record.
};

/** Record ids: what a record request is about. */
enum FcsRecordId : uint32_t {
  FCS_REC_DISCOVERY_STATUS = 10, ///< fcs_disc_status_record, keyed by VSAN.
  FCS_REC_IE = 20,               ///< IeEntry, keyed by IeKey.
  FCS_REC_MGMT_ADDR = 30,        ///< Management address row.
  FCS_REC_PORT_LIST = 40,        ///< Port list.
  FCS_REC_PORT = 50,             ///< Port.
  FCS_REC_ATTACH_PORT = 60,      ///< Attached port name.
  FCS_REC_PLATFORM = 70,         ///< Platform row.
  FCS_REC_NODE_NAME = 80,        ///< Node name row.
  FCS_REC_STATISTICS = 90,       ///< FcsStatsRecord, keyed by VSAN.
  FCS_REC_TOTAL_REJECTS = 100,   ///< One word: rejected requests of all VSANs.
  FCS_REC_IE_COUNT = 110,        ///< One word: number of interconnect elements.
  FCS_REC_PORT_COUNT = 120,      ///< One word: number of ports.
  FCS_REC_PLATFORM_COUNT = 130,  ///< One word: number of platforms.
  /** One word, asked before a reject notification: it passes unless that is 0, or no answer. */
  FCS_REC_REJECT_TRAP = 140,
  /** One word, asked before a completion notification, which passes whatever it is. */
  FCS_REC_COMPLETE_TRAP = 150,
};

/**
 * Result of a request, as the service answers it. 0 is success. None is a multiple of 256: the
 * module keeps a result's low octet only.
 */
enum FcsResult : int32_t {
  FCS_OK = 0,
  FCS_ERR_NO_SUCH_RECORD = 1,       ///< The service does not serve this record id or opcode.
  FCS_ERR_NO_SUCH_ROW = 2,          ///< No row has this key, or none follows it.
  FCS_ERR_BAD_LENGTH = 3,           ///< The request is shorter or longer than its record.
  FCS_ERR_BAD_OPERATION = 4,        ///< The record does not take this operation.
  FCS_ERR_STORE = 5,                ///< The service could not read or write its store.
  FCS_ERR_UNKNOWN_VSAN = 6,         ///< The fabric has no such VSAN.
  FCS_ERR_BAD_VALUE = 7,            ///< A word of the request is outside its range.
  FCS_ERR_IN_PROGRESS = 8,          ///< A discovery of the VSAN is in progress, which forbids this.
  FCS_ERR_ROW_EXISTS = 9,           ///< A row that was to be created is there already.
  FCS_ERR_PLATFORM_NAME_TAKEN = 10, ///< Another platform of the VSAN has this name.
  FCS_ERR_NODE_NAME_TAKEN = 11,     ///< Another list has this node name.
  FCS_ERR_BAD_PLATFORM_NAME = 12,   ///< A platform's name has no octets, or a blank among them.
  FCS_ERR_EMPTY_ADDRESS = 13,       ///< A management address has no octets.
  FCS_ERR_STORE_GONE = 14,          ///< The service's store was deleted or replaced: no changes.
};

/**
 * First VSAN or list index word of an answer that says: no row follows. Discovery status, elements,
 * port lists, attached names and statistics take such a record as the end of the table; every table
 * takes FCS_ERR_NO_SUCH_ROW, and the others nothing else.
 */
constexpr uint32_t FCS_END_OF_TABLE = 0xFFFFFFFF;

/** Highest VSAN id; the lowest is 1. */
constexpr uint32_t FCS_MAX_VSAN = 4096;

/** Octets of a world-wide name. */
constexpr size_t FCS_WWN_LENGTH = 8;

/** Octets of an attached port name: the port's world-wide name and what the service adds to it. */
constexpr size_t FCS_ATTACHED_NAME_LENGTH = 12;

/**
 * The key of a record's rows, with which requests and answers begin: words, then the octets of a
 * name. Rows are ordered by it as SNMP orders indexes: words as unsigned numbers, signed though
 * some records have them, and names as octets.
 */
struct FcsKeyForm {
  FcsRecordId record_id;
  uint32_t words;
  uint32_t name_octets;
  bool begins_with_vsan;

  /** Octets of the key. */
  constexpr uint32_t length() const {
    return words * static_cast<uint32_t>(sizeof(uint32_t)) + name_octets;
  }
};

/** Of every record with a key. */
inline constexpr FcsKeyForm FCS_KEY_FORMS[] = {
    {FCS_REC_DISCOVERY_STATUS, 1, 0, true},
    {FCS_REC_IE, 1, FCS_WWN_LENGTH, true},
    {FCS_REC_MGMT_ADDR, 2, 0, false},
    {FCS_REC_PORT_LIST, 1, FCS_WWN_LENGTH, false},
    {FCS_REC_PORT, 1, FCS_WWN_LENGTH, true},
    {FCS_REC_ATTACH_PORT, 1, FCS_ATTACHED_NAME_LENGTH, false},
    {FCS_REC_PLATFORM, 2, 0, true},
    {FCS_REC_NODE_NAME, 1, FCS_WWN_LENGTH, false},
    {FCS_REC_STATISTICS, 1, 0, true},
};

/** The key form of a record; null for one without a key. */
constexpr const FcsKeyForm *fcs_key_form(uint32_t record_id) {
  for (const FcsKeyForm &form : FCS_KEY_FORMS) {
    if (form.record_id == record_id) {
      return &form;
    }
  }
  return nullptr;
}

/** A record request: the record id, then the caller's bytes. */
struct FcsRequest {
  uint32_t record_id;
  uint8_t payload[FCS_MESSAGE_ROOM - sizeof(uint32_t)];
};
static_assert(offsetof(FcsRequest, payload) == 4 && sizeof(FcsRequest) == FCS_MESSAGE_ROOM);

/** Record 10: discovery status of one VSAN. The request is the first word only. */
struct fcs_disc_status_record {
  uint32_t vsan;             ///< FCS_END_OF_TABLE: no row.
  int32_t status;            ///< FcsDiscoveryStatus.
  int32_t completed_seconds; ///< Time of day of the last completion; 0 and 0: never completed.
  int32_t completed_microseconds;
};
static_assert(offsetof(fcs_disc_status_record, status) == 4);
static_assert(offsetof(fcs_disc_status_record, completed_seconds) == 8);
static_assert(offsetof(fcs_disc_status_record, completed_microseconds) == 12);
static_assert(sizeof(fcs_disc_status_record) == 16);

/** Discovery status of a VSAN. */
enum FcsDiscoveryStatus : int32_t {
  FCS_DISCOVERY_IN_PROGRESS = 1,
  FCS_DISCOVERY_COMPLETED = 2,
  FCS_DISCOVERY_LOCAL_ONLY = 3, ///< Never discovered, invalidated or timed out.
};

/** Record 20, request: key of an interconnect element. */
struct IeKey {
  uint32_t vsan;
  uint8_t name[FCS_WWN_LENGTH];
};
static_assert(offsetof(IeKey, name) == 4 && sizeof(IeKey) == 12);

/** Record 20, answer: an interconnect element (switch, hub or bridge). */
struct IeEntry {
  uint32_t vsan; ///< FCS_END_OF_TABLE: no row follows.
  uint8_t name[FCS_WWN_LENGTH];
  uint32_t type; ///< FC-GS element type: 0 unknown, 1 switch, 2 hub, 3 bridge.
  uint32_t domain_id;
  uint8_t mgmt_id[4]; ///< 24-bit address identifier in octets 1 to 3, octet 0 is 0.
  uint8_t fabric_name[FCS_WWN_LENGTH];
  uint8_t logical_name_length;
  uint8_t logical_name[255];
  uint32_t mgmt_addr_list_index;
  uint8_t info_list[256];
  uint32_t port_list_index;
};
static_assert(offsetof(IeEntry, name) == 4);
static_assert(offsetof(IeEntry, type) == 12);
static_assert(offsetof(IeEntry, domain_id) == 16);
static_assert(offsetof(IeEntry, mgmt_id) == 20);
static_assert(offsetof(IeEntry, fabric_name) == 24);
static_assert(offsetof(IeEntry, logical_name_length) == 32);
static_assert(offsetof(IeEntry, logical_name) == 33);
static_assert(offsetof(IeEntry, mgmt_addr_list_index) == 288);
static_assert(offsetof(IeEntry, info_list) == 292);
static_assert(offsetof(IeEntry, port_list_index) == 548);
static_assert(sizeof(IeEntry) == 552);

/** Record 40, request and answer: a port of a port list. */
struct FcsPortListRecord {
  uint32_t list_index; ///< FCS_END_OF_TABLE: no row follows.
  uint8_t port_name[FCS_WWN_LENGTH];
};
static_assert(offsetof(FcsPortListRecord, port_name) == 4 && sizeof(FcsPortListRecord) == 12);

/** Record 50, request: key of a port. */
struct FcsPortKey {
  uint32_t vsan;
  uint8_t name[FCS_WWN_LENGTH];
};
static_assert(offsetof(FcsPortKey, name) == 4 && sizeof(FcsPortKey) == 12);

/** Record 50, answer: a port. */
struct FcsPortRecord {
  uint32_t vsan;
  uint8_t name[FCS_WWN_LENGTH];
  uint32_t type;    ///< FC-GS port type.
  uint32_t tx_type; ///< FC-GS transmitter type.
  uint32_t module_type;
  uint32_t physical_port;
  uint32_t attached_list_index;
  uint32_t state; ///< FC-GS port state: 0 unknown, 1 online, 2 offline, 3 testing, 4 fault.
};
static_assert(offsetof(FcsPortRecord, name) == 4);
static_assert(offsetof(FcsPortRecord, type) == 12);
static_assert(offsetof(FcsPortRecord, tx_type) == 16);
static_assert(offsetof(FcsPortRecord, module_type) == 20);
static_assert(offsetof(FcsPortRecord, physical_port) == 24);
static_assert(offsetof(FcsPortRecord, attached_list_index) == 28);
static_assert(offsetof(FcsPortRecord, state) == 32);
static_assert(sizeof(FcsPortRecord) == 36);

/** Record 60, request and answer: a name of an attached-port-name list. */
struct FcsAttachPortRecord {
  uint32_t list_index; ///< FCS_END_OF_TABLE: no row follows.
  uint8_t name[FCS_ATTACHED_NAME_LENGTH];
};
static_assert(offsetof(FcsAttachPortRecord, name) == 4 && sizeof(FcsAttachPortRecord) == 16);

/** Status word of a row: that of every answer, and what a request to set the row asks for. */
enum FcsRowStatus : uint32_t {
  FCS_ROW_ACTIVE = 1,        ///< Change the row, which has to be there.
  FCS_ROW_CREATE_AND_GO = 4, ///< Create the row, which must not be there.
};

/**
 * Record 30, request and answer: a management address. Deleting takes its key words alone, as does
 * reading; setting stores the row as configured, whatever its configuration source says.
 */
struct MgmtAddrEntry {
  int32_t list_index;
  int32_t address_index;
  uint8_t address_length;
  uint8_t address[255];
  uint32_t config_source; ///< Nonzero: set by configuration.
  uint32_t row_status;    ///< FcsRowStatus.
};
static_assert(offsetof(MgmtAddrEntry, address_index) == 4);
static_assert(offsetof(MgmtAddrEntry, address_length) == 8);
static_assert(offsetof(MgmtAddrEntry, address) == 9);
static_assert(offsetof(MgmtAddrEntry, config_source) == 264);
static_assert(offsetof(MgmtAddrEntry, row_status) == 268);
static_assert(sizeof(MgmtAddrEntry) == 272);

/** Record 70, request of a read: key of a platform. */
struct PlatformKey {
  int32_t vsan;
  int32_t platform_index;
};
static_assert(offsetof(PlatformKey, platform_index) == 4 && sizeof(PlatformKey) == 8);

/** What the last validation of a platform has found. */
enum FcsValidationResult : uint32_t {
  FCS_NO_RESULT = 0,     ///< Not even that: a row that its agent has created of zeros.
  FCS_NOT_VALIDATED = 1, ///< Not validated since it was last set.
  FCS_VALID = 2,
  FCS_INVALID = 3, ///< It refers to a list that has no rows.
};

/**
 * Record 70, answer, and request to set or delete: a platform. Deleting takes its key words alone.
 * Setting stores the row as configured; configuration source and validation result are the
 * service's to say, but a new row may come without type and result, which then read 0.
 */
struct PlatformEntry {
  int32_t vsan;
  int32_t platform_index;
  uint8_t name_length;
  uint8_t name[255];
  uint32_t type; ///< The service's platform type.
  uint32_t node_name_list_index;
  uint32_t mgmt_addr_list_index;
  uint32_t config_source;      ///< Nonzero: set by configuration.
  uint32_t validation_result;  ///< FcsValidationResult.
  uint32_t validation_request; ///< 1: validate the row as it is set; 0, as in answers: do not.
  uint32_t row_status;         ///< FcsRowStatus.
};
static_assert(offsetof(PlatformEntry, platform_index) == 4);
static_assert(offsetof(PlatformEntry, name_length) == 8);
static_assert(offsetof(PlatformEntry, name) == 9);
static_assert(offsetof(PlatformEntry, type) == 264);
static_assert(offsetof(PlatformEntry, node_name_list_index) == 268);
static_assert(offsetof(PlatformEntry, mgmt_addr_list_index) == 272);
static_assert(offsetof(PlatformEntry, config_source) == 276);
static_assert(offsetof(PlatformEntry, validation_result) == 280);
static_assert(offsetof(PlatformEntry, validation_request) == 284);
static_assert(offsetof(PlatformEntry, row_status) == 288);
static_assert(sizeof(PlatformEntry) == 292);

/** Record 80, request and answer: a node name of a list. Setting creates the row. */
struct NodeNameEntry {
  int32_t list_index;
  uint8_t name[FCS_WWN_LENGTH];
  uint32_t config_source; ///< Nonzero: set by configuration.
  uint32_t reserved;
};
static_assert(offsetof(NodeNameEntry, name) == 4);
static_assert(offsetof(NodeNameEntry, config_source) == 12);
static_assert(offsetof(NodeNameEntry, reserved) == 16);
static_assert(sizeof(NodeNameEntry) == 20);

/** Record 90: request counters of one VSAN. The request is the first word only. */
struct FcsStatsRecord {
  uint32_t vsan;
  uint32_t rx_get_reqs;
  uint32_t tx_get_reqs;
  uint32_t rx_reg_reqs;
  uint32_t rx_dereg_reqs;
  uint32_t tx_reg_reqs;
  uint32_t tx_dereg_reqs;
  uint32_t rx_rscns;
  uint32_t tx_rscns;
  uint32_t rejects;
};
static_assert(offsetof(FcsStatsRecord, rx_get_reqs) == 4);
static_assert(offsetof(FcsStatsRecord, tx_get_reqs) == 8);
static_assert(offsetof(FcsStatsRecord, rx_reg_reqs) == 12);
static_assert(offsetof(FcsStatsRecord, rx_dereg_reqs) == 16);
static_assert(offsetof(FcsStatsRecord, tx_reg_reqs) == 20);
static_assert(offsetof(FcsStatsRecord, tx_dereg_reqs) == 24);
static_assert(offsetof(FcsStatsRecord, rx_rscns) == 28);
static_assert(offsetof(FcsStatsRecord, tx_rscns) == 32);
static_assert(offsetof(FcsStatsRecord, rejects) == 36);
static_assert(sizeof(FcsStatsRecord) == 40);

/** Payload of FCS_MSG_START_DISCOVERY. */
struct FcsStartDiscovery {
  uint32_t vsan;
  uint32_t reserved; ///< 0.
};
static_assert(offsetof(FcsStartDiscovery, reserved) == 4 && sizeof(FcsStartDiscovery) == 8);

/** Range of the payload of FCS_MSG_SET_DISC_TIMEOUT, in seconds. */
constexpr uint32_t FCS_MIN_DISC_TIMEOUT = 300;
constexpr uint32_t FCS_MAX_DISC_TIMEOUT = 1800;
/** The time-out before anybody sets it. */
constexpr uint32_t FCS_DEFAULT_DISC_TIMEOUT = 900;

/** Octets of a discovery name with its NUL; payload of FCS_MSG_DISC_COMPLETE. */
constexpr size_t FCS_DISCOVERY_NAME_SIZE = 33;

/** Payload of FCS_MSG_REG_REQ_REJ: a CT reject reason and its explanation (FC-GS). */
struct FcsRejectNotif {
  uint32_t reason;
  uint32_t explanation;
};
static_assert(offsetof(FcsRejectNotif, explanation) == 4 && sizeof(FcsRejectNotif) == 8);

/** Payload of FCS_MSG_DISC_COMP_ON_VSAN and FCS_MSG_TIMEOUT_ON_VSAN. */
struct FcsVsanNotif {
  uint32_t vsan;
};
static_assert(sizeof(FcsVsanNotif) == 4);

/** Payload of FCS_MSG_IP_ADDR_CHANGE. */
struct FcsAddressNotif {
  uint32_t vsan;
  uint8_t address[8];
};
static_assert(offsetof(FcsAddressNotif, address) == 4 && sizeof(FcsAddressNotif) == 12);
