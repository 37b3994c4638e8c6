// SPDX-License-Identifier: BSD-3-Clause
/** The exchange with the FCS service: every read and most writes of the module go through it. */
#pragma once

#include "platform/ipc.h"

#include <cstdint>

/**
 * Result of the last fcs_get_data, cut to its low octet: 0 is success. A result that is a multiple
 * of 256 thus counts as success, deliberately; the messaging service hands out none.
 */
extern uint8_t fcs_req_status;

/**
 * A buffer for the answer of fcs_get_data: the record, and behind it room for the longest response
 * that the messaging service delivers.
 */
template <typename Record> struct FcsAnswer {
  Record record;
  uint8_t room[IPC_MESSAGE_ROOM - sizeof(Record)];
};

/**
 * Reads a record. The outcome stands in fcs_req_status.
 *
 * \param record_id      FcsRecordId.
 * \param operation      FCS_OP_GET or FCS_OP_GETNEXT.
 * \param payload        The key; null for none. At most 1020 octets, unchecked.
 * \param payload_length Its octets.
 * \param answer         An FcsAnswer, or as much room: receives the response as long as it is. It
 *                       keeps its contents when the exchange fails. May be the payload's buffer.
 */
void fcs_get_data(uint32_t record_id, uint32_t operation, const void *payload,
                  uint32_t payload_length, void *answer);

/**
 * Writes a record; parameters as in fcs_get_data, with FCS_OP_SET or FCS_OP_DELETE.
 * \return the result of ipc_req_resp: 0 on success. fcs_req_status stays as it was.
 */
int32_t fcs_set_data(uint32_t record_id, uint32_t operation, const void *payload,
                     uint32_t payload_length);
