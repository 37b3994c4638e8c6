#include "control_client.h"

#include "common/wire/ipc_wire.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "tool_connection.h"

#include <algorithm>
#include <stdexcept>

namespace fcsctl {

namespace {

std::string result_text(int32_t result) {
  switch (result) {
  case FCS_ERR_NO_SUCH_RECORD: return "the FCS service does not know this request";
  case FCS_ERR_STORE: return "the FCS service cannot use its store, see its log";
  case FCS_ERR_STORE_GONE:
    return "the FCS service's store was deleted or replaced; it has to be started anew";
  case FCS_ERR_UNKNOWN_VSAN: return "the fabric has no such VSAN";
  case FCS_ERR_BAD_VALUE: return "the FCS service refuses a value of the request";
  default: return "the FCS service answers with the error " + std::to_string(result);
  }
}

} // namespace

std::string control_request(const std::string &socket, FcsControlMessage opcode,
                            std::string_view payload) {
  ToolConnection connection(socket, ipc_wire::kControl);
  ipc_wire::Frame frame{};
  frame.header.sequence = 1;
  frame.header.opcode = opcode;
  if (payload.size() > sizeof(frame.payload)) {
    connection.fail("the request is too long");
  }
  std::copy(payload.begin(), payload.end(), frame.payload);
  connection.send(&frame, sizeof(frame.header) + payload.size());
  const size_t length = connection.receive(&frame, sizeof(frame));
  if (length < sizeof(frame.header) || frame.header.sequence != 1) {
    connection.fail("the FCS service's answer makes no sense");
  }
  if (frame.header.result != FCS_OK) {
    connection.fail(result_text(frame.header.result));
  }
  return {reinterpret_cast<const char *>(frame.payload), length - sizeof(frame.header)};
}

nlohmann::ordered_json service_status(const std::string &socket) {
  const std::string text = control_request(socket, FCS_CTL_STATUS);
  try {
    return nlohmann::ordered_json::parse(text);
  } catch (const nlohmann::json::exception &) {
    throw std::runtime_error(socket + ": the FCS service's answer makes no sense");
  }
}

} // namespace fcsctl
