/**
 * The agent's end of the messaging against a service that lies: about its greeting, lengths,
 * sequence numbers and results, with more replies than requests, with messages unasked for, and
 * with batches of rows of every shape.
 *
 * The service hangs up where it does not answer, so that nothing has to wait.
 */
#include "fuzz_input.h"

#include "common/system/fd.h"
#include "common/wire/ipc_wire.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "platform/agent_host.h"
#include "platform/ipc.h"
#include "platform/linux/configuration_tokens.h"
#include "platform/linux/messaging/notifications.h"
#include "platform/linux/messaging/request_rows.h"
#include "platform/linux/messaging/service_connection.h"
#include "platform/linux/settings/settings.h"
#include "tests/service_peer.h"

#include <array>
#include <cerrno>
#include <sys/socket.h>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace {

using ipc_wire::Frame;
using ipc_wire::FrameHeader;
using service_peer::send_to_agent;
using service_peer::serve_agent;

/** The service's ends of the agent's connections. */
struct LyingService {
  FuzzInput *input = nullptr;
  Fd exchanges;
  Fd notifications;
  uint32_t sequence = 0; ///< Of the agent's last request.

  void greet(const Fd &peer) const;
  void hear_requests();
  void say(const Fd &peer, uint32_t meant_sequence);
  void say_several(const Fd &peer, uint32_t meant_sequence);
  void answer();
} service;

/** Most often as it should be. */
void LyingService::greet(const Fd &peer) const {
  auto reply = ipc_wire::reply_to_greeting("");
  size_t length = sizeof(reply);
  switch (input->octet() % 16) {
  case 1: length = input->up_to(sizeof(reply)); break;
  case 2: reply = input->take<ipc_wire::GreetingReply>(); break;
  case 3: reply.version = input->octet(); break;
  case 4: reply.accepted = input->octet(); break;
  default: break;
  }
  send_to_agent(peer, &reply, length);
}

/** A message of any length, those beyond a frame's included. */
void LyingService::say(const Fd &peer, uint32_t meant_sequence) {
  struct {
    FrameHeader header;
    uint8_t payload[ipc_wire::kMessageRoom + 64];
  } message{};
  message.header.sequence = meant_sequence + input->octet();
  message.header.opcode = input->take<uint16_t>();
  message.header.result = input->octet();
  message.header.rows = input->octet();
  const size_t length = input->up_to(sizeof(message));
  if (length > sizeof(message.header)) {
    const std::vector<uint8_t> payload = input->octets(length - sizeof(message.header));
    std::copy(payload.begin(), payload.end(), message.payload);
  }
  send_to_agent(peer, &message, length);
}

void LyingService::say_several(const Fd &peer, uint32_t meant_sequence) {
  for (int i = input->octet() % 32; i > 0 && !input->empty(); --i) {
    say(peer, meant_sequence);
  }
}

void LyingService::answer() {
  Frame frame{};
  frame.header.sequence = sequence + 1;
  frame.header.result = input->take<int32_t>();
  frame.header.rows = input->octet() % 4;
  const size_t length = input->up_to(sizeof(frame.payload));
  const std::vector<uint8_t> payload = input->octets(length);
  std::copy(payload.begin(), payload.end(), frame.payload);
  send_to_agent(exchanges, &frame, sizeof(frame.header) + length);
}

void LyingService::hear_requests() {
  Frame request{};
  ssize_t length = 0;
  while (exchanges &&
         (length = recv(exchanges.get(), &request, sizeof(request), MSG_DONTWAIT)) > 0) {
    if (length == sizeof(ipc_wire::Greeting)) {
      continue;
    }
    require(static_cast<size_t>(length) >= sizeof(request.header), "a request has a header");
    require(request.header.user[sizeof(request.header.user) - 1] == '\0', "a user's name ends");
    sequence = request.header.sequence;
  }
}

/** A request of the agent, with lies in front of the answer, if there is one. */
void exchange() {
  const uint8_t choice = service.input->octet();
  service.say_several(service.exchanges, service.sequence + 1);
  if (choice % 4 != 0) {
    service.answer();
  } else {
    shutdown(service.exchanges.get(), SHUT_WR);
  }
  const uint8_t request[IPC_MESSAGE_ROOM] = {};
  auto length = static_cast<uint32_t>(service.input->up_to(IPC_MESSAGE_ROOM + 1));
  void *response = nullptr;
  const int32_t result = ipc_req_resp(1402, 1, request, choice % 8 < 6 ? &response : nullptr,
                                      &length, "user", 1, 20, ipc_response_queue, 0);
  require(result == 0 || result % 256 != 0, "a failure stays one in its low octet");
  require(result == 0 || response == nullptr, "a failure brings no response");
  if (response != nullptr) {
    const auto *octets = static_cast<const uint8_t *>(response);
    const std::vector<uint8_t> readable(octets, octets + length);
    require(readable.size() <= IPC_MESSAGE_ROOM, "a response is no longer than the room");
  }
  free(response);
  service.hear_requests();
}

netsnmp_variable_list *receive(const IpcMessage *message, oid * /*trap_oid*/,
                               size_t * /*trap_oid_length*/, int *send) {
  const auto *payload = static_cast<const uint8_t *>(ipc_payload_get(message));
  const std::vector<uint8_t> readable(payload, payload + IPC_MESSAGE_ROOM);
  require(readable.size() == IPC_MESSAGE_ROOM, "a payload fills the room");
  *send = 0;
  return nullptr;
}

/** The exchanges' connection is opened first. */
int take_connection(Fd end) {
  static bool for_exchanges = false;
  for_exchanges = !for_exchanges;
  Fd &peer = for_exchanges ? service.exchanges : service.notifications;
  peer = std::move(end);
  service.greet(peer);
  return 0;
}

void start_agent_end() {
  service_peer::on_connection = take_connection;
  snmp_disable_log();
  netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE, "snmpd");
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);
  configuration_tokens_register();
  const config_line *token = read_config_get_handlers("snmpd");
  while (token != nullptr && strcmp(token->config_token, "fcsExchangeTimeout") != 0) {
    token = token->next;
  }
  require(token != nullptr, "the time-out has a token");
  char shortest[] = "10";
  token->parse_line(token->config_token, shortest);
  require(settings().exchange_timeout == std::chrono::milliseconds(10), "the time-out is set");
  for (const uint32_t opcode : {1407U, 1408U, 1409U}) {
    agent_notif_register(opcode, receive);
  }
}

/** A key of few values, so that some are the same. */
std::vector<uint8_t> take_key(FuzzInput &input, const FcsKeyForm &form) {
  std::vector<uint8_t> key(form.length());
  for (uint8_t &octet : key) {
    octet = std::array<uint8_t, 4>{0, 1, 2, 0xFF}[input.octet() % 4];
  }
  return key;
}

RowQuestion take_question(FuzzInput &input, std::vector<uint8_t> &request) {
  const FcsKeyForm &form = FCS_KEY_FORMS[input.octet() % std::size(FCS_KEY_FORMS)];
  request = take_key(input, form);
  const auto *id = reinterpret_cast<const uint8_t *>(&form.record_id);
  request.insert(request.begin(), id, id + sizeof(form.record_id));
  const auto question = RowQuestion::of(FCS_MSG_REQUEST, 1 + input.octet() % 2, request);
  require(question.has_value() && question->form == &form, "a row's request is known as one");
  return *question;
}

/** Rows that come along, in order or not, and what is made of them. */
void keep_rows(FuzzInput &input) {
  static ipc_wire::Reply reply;
  RequestRows rows;
  rows.serve(1);
  std::vector<uint8_t> request;
  for (int i = input.octet() % 4; i >= 0; --i) {
    const RowQuestion question = take_question(input, request);
    reply.header = {};
    reply.header.result = input.octet() % 4 == 0 ? input.octet() : 0;
    reply.header.rows = input.octet() % 8;
    reply.header.end = input.octet() % 4;
    const size_t length = input.octet() % 64;
    for (uint32_t row = 0; row < ipc_wire::rows_of(reply.header); ++row) {
      const std::vector<uint8_t> key = take_key(input, *question.form);
      std::copy_n(key.begin(), std::min(length, key.size()), reply.payload + row * length);
    }
    rows.keep(question, reply, length);
  }
  for (int i = 0; i < 8; ++i) {
    const RowQuestion question = take_question(input, request);
    const auto answer = rows.find(question);
    if (!answer || answer->result != 0) {
      continue;
    }
    const std::vector<uint8_t> readable(answer->record.begin(), answer->record.end());
    require(readable.size() >= question.form->length(), "a row has a key");
    const bool same = memcmp(readable.data(), question.key, question.form->length()) == 0;
    require(same == (question.operation == FCS_OP_GET), "a row is the one asked for, or another");
    require(rows.rows_to_ask(question, 5) <= 5, "no more rows are asked for than are of use");
  }
  rows.serve(2);
  require(!rows.find(take_question(input, request)), "another request begins without rows");
}

void take_step(FuzzInput &input) {
  switch (input.octet() % 5) {
  case 0: exchange(); break;
  case 1:
    service.say_several(service.exchanges, service.sequence);
    serve_agent();
    break;
  case 2:
    service.say_several(service.notifications, 0);
    serve_agent();
    break;
  case 3: service_connection_open(); break;
  case 4: keep_rows(input); break;
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *octets, size_t length) {
  constexpr int kMostSteps = 8;
  [[maybe_unused]] static const bool started = (start_agent_end(), true);
  FuzzInput input(octets, length);
  service.input = &input;
  service_connection_open();
  for (int i = 0; i < kMostSteps && !input.empty(); ++i) {
    take_step(input);
  }
  service_connection_close();
  return 0;
}
