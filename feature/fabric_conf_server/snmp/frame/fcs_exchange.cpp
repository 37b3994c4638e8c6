// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_exchange.h"

#include "fcs_trace.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "platform/agent_host.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

static_assert(FCS_MESSAGE_ROOM == IPC_MESSAGE_ROOM);

uint8_t fcs_req_status;

/** Builds the request record and returns its length. */
static uint32_t build_request(FcsRequest *request, uint32_t record_id, const void *payload,
                              uint32_t payload_length) {
  request->record_id = record_id;
  if (payload != nullptr) {
    memcpy(request->payload, payload, payload_length);
  }
  return payload_length + static_cast<uint32_t>(sizeof(request->record_id));
}

static int32_t exchange(uint32_t operation, const FcsRequest *request, void **response,
                        uint32_t *length) {
  fputs("Before CMI\n", stderr);
  return ipc_req_resp(FCS_MSG_REQUEST, operation, request, response, length, agent_session_user(0),
                      agent_session_id(0), FCS_SERVICE_ID, ipc_response_queue, 0);
}

void fcs_get_data(uint32_t record_id, uint32_t operation, const void *payload,
                  uint32_t payload_length, void *answer) {
  FcsRequest request;
  uint32_t length = build_request(&request, record_id, payload, payload_length);
  FCS_DETAIL("%s:before sending cmi\n");
  void *response = nullptr;
  fcs_req_status = static_cast<uint8_t>(exchange(operation, &request, &response, &length));
  FCS_DETAIL_VALUES("%s:err %d\n", fcs_req_status);
  if (fcs_req_status != 0) {
    return;
  }
  // A failure whose code is a multiple of 256 brings no response.
  const auto *octets = static_cast<const uint8_t *>(response);
  const uint32_t received = response == nullptr ? 0 : length;
  int32_t first_word = 0;
  std::copy_n(octets, std::min<size_t>(received, sizeof(first_word)),
              reinterpret_cast<uint8_t *>(&first_word));
  const int printed_length = static_cast<int>(received);
  FCS_DETAIL_VALUES("%s:len = %d val = %d \n", printed_length, first_word);
  fcs_print("len = %d val = %d\n", printed_length, first_word);
  std::copy_n(octets, received, static_cast<uint8_t *>(answer));
  free(response);
}

int32_t fcs_set_data(uint32_t record_id, uint32_t operation, const void *payload,
                     uint32_t payload_length) {
  FcsRequest request;
  uint32_t length = build_request(&request, record_id, payload, payload_length);
  FCS_DETAIL("%s:before cmi set\n");
  return exchange(operation, &request, nullptr, &length);
}
