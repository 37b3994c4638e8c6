#include "platform/ipc.h"

#include "common/wire/ipc_wire.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "notifications.h"
#include "platform/linux/request/agent_request.h"
#include "platform/linux/settings/settings.h"
#include "request_rows.h"
#include "service_connection.h"
#include "service_link.h"
#include "shown_vsans.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

static_assert(IPC_MESSAGE_ROOM == ipc_wire::kMessageRoom);

const uint32_t ipc_response_queue = 1;

namespace {

ServiceLink exchanges("exchanges", ipc_wire::kExchange, nullptr);
ServiceLink notifications("notifications", ipc_wire::kNotification, notifications_deliver);
RequestRows rows;

/** A code of the service as the module may see it: -1 when its low octet would read as success. */
int32_t module_code(int32_t code) {
  if (code != -1 && code % 256 != 0) {
    return code;
  }
  errno = EPROTO;
  return -1;
}

/** Hands an answer to the module, its record in a copy that the module frees. */
int32_t respond(const RowAnswer &answer, void **response, uint32_t *length) {
  if (answer.result != 0) {
    return module_code(answer.result);
  }
  if (response != nullptr) {
    *response = malloc(std::max<size_t>(answer.record.size(), 1));
    if (*response == nullptr) {
      return -1;
    }
    std::copy(answer.record.begin(), answer.record.end(), static_cast<uint8_t *>(*response));
  }
  *length = static_cast<uint32_t>(answer.record.size());
  return 0;
}

} // namespace

int32_t ipc_req_resp(uint32_t opcode, uint32_t flag, const void *request, void **response,
                     uint32_t *length, const char *user, uint32_t session, uint32_t /*service*/,
                     uint32_t /*queue*/, uint32_t /*reserved*/) {
  if (*length > IPC_MESSAGE_ROOM) {
    errno = EMSGSIZE;
    return -1;
  }
  const RowUse use = agent_request_row_use();
  rows.serve(use.request);
  auto question =
      use.request == RequestRows::kNone
          ? std::nullopt
          : RowQuestion::of(opcode, flag, {static_cast<const uint8_t *>(request), *length});
  if (question) {
    if (const auto known = rows.find(*question)) {
      return respond(*known, response, length);
    }
  }
  if (agent_request_is_overdue()) {
    DEBUGMSGTL((kRequestToken, "no exchange: the request has spent its time\n"));
    errno = ETIMEDOUT;
    return -1;
  }
  ipc_wire::FrameHeader header{};
  header.opcode = opcode;
  header.flag = flag;
  header.session = session;
  header.processor = agent_request_processor();
  header.rows = question ? use.rows : 1;
  if (question && question->form->begins_with_vsan) {
    question->shown = header.shown = shown_vsans(question->vsan());
    header.rows += header.shown.count(); // In front of each there may be a hidden one.
  }
  strncpy(header.user, user, sizeof(header.user) - 1);
  static ipc_wire::Reply reply;
  size_t reply_length = 0;
  if (!exchanges.exchange(header, request, *length, reply, reply_length)) {
    DEBUGMSGTL((kRequestToken, "exchange failed: %s\n", strerror(errno)));
    return -1;
  }
  const size_t record_length = reply_length / ipc_wire::rows_of(reply.header);
  if (question) {
    rows.keep(*question, reply, record_length);
  }
  return respond({reply.header.result, {reply.payload, record_length}}, response, length);
}

void service_connection_open() {
  exchanges.open();
  notifications.open();
  exchanges.await_up(settings().exchange_timeout);
}

void service_connection_close() {
  rows.serve(RequestRows::kNone);
  exchanges.close();
  notifications.close();
}
