#include "platform/ipc.h"

#include "agent_request.h"
#include "ipc_wire.h"
#include "notifications.h"
#include "service_connection.h"
#include "service_link.h"
#include "settings.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

static_assert(IPC_MESSAGE_ROOM == ipc_wire::kMessageRoom);

const uint32_t ipc_response_queue = 1;

namespace {

ServiceLink exchanges("exchanges", ipc_wire::kExchange, nullptr);
ServiceLink notifications("notifications", ipc_wire::kNotification, notifications_deliver);

/** A code of the service as the module may see it: -1 when its low octet would read as success. */
int32_t module_code(int32_t code) {
  if (code != -1 && code % 256 != 0) {
    return code;
  }
  errno = EPROTO;
  return -1;
}

void *copy_of(const void *octets, size_t length) {
  void *copy = malloc(std::max<size_t>(length, 1));
  if (copy != nullptr) {
    memcpy(copy, octets, length);
  }
  return copy;
}

} // namespace

int32_t ipc_req_resp(uint32_t opcode, uint32_t flag, const void *request, void **response,
                     uint32_t *length, const char *user, uint32_t session, uint32_t /*service*/,
                     uint32_t /*queue*/, uint32_t /*reserved*/) {
  if (*length > IPC_MESSAGE_ROOM) {
    errno = EMSGSIZE;
    return -1;
  }
  if (agent_request_is_overdue()) {
    errno = ETIMEDOUT;
    return -1;
  }
  ipc_wire::FrameHeader header{};
  header.opcode = opcode;
  header.flag = flag;
  header.session = session;
  strncpy(header.user, user, sizeof(header.user) - 1);
  static ipc_wire::Frame reply;
  size_t reply_length = 0;
  if (!exchanges.exchange(header, request, *length, reply, reply_length)) {
    return -1;
  }
  if (reply.header.result != 0) {
    return module_code(reply.header.result);
  }
  if (response != nullptr) {
    void *copy = copy_of(reply.payload, reply_length);
    if (copy == nullptr) {
      return -1;
    }
    *response = copy;
  }
  *length = static_cast<uint32_t>(reply_length);
  return 0;
}

void service_connection_open() {
  exchanges.open();
  notifications.open();
  exchanges.await_up(settings().exchange_timeout);
}

void service_connection_close() {
  exchanges.close();
  notifications.close();
}
