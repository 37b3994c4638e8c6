/**
 * The agent's end of the messaging against a service that lies: about its greeting, lengths,
 * sequence numbers and results, with more replies than requests, with messages unasked for, and
 * with batches of rows of every shape.
 *
 * The service hangs up where it does not answer, so that nothing has to wait.
 */
#include "fuzz_input.h"

#include "common/wire/ipc_wire.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "platform/agent_host.h"
#include "platform/ipc.h"
#include "platform/linux/messaging/notifications.h"
#include "platform/linux/messaging/request_rows.h"
#include "platform/linux/messaging/service_connection.h"
#include "platform/linux/settings/settings.h"
#include "tests/service_peer.h"

#include <sys/socket.h>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace {

using ipc_wire::FrameHeader;
using service_peer::send_to_agent;
using service_peer::serve_agent;

// ---- The lying service, with its ends of the agent's connections

Fd exchanges;
Fd notifications;
uint32_t sequence; ///< Of the agent's last request.

/** The exchanges' connection is opened first. It is greeted as it should be, most often. */
int take_connection(FuzzInput &input, Fd end) {
  static bool for_exchanges = false;
  for_exchanges = !for_exchanges;
  Fd &peer = for_exchanges ? exchanges : notifications;
  peer = std::move(end);
  auto reply = ipc_wire::reply_to_greeting("");
  size_t length = sizeof(reply);
  switch (input.octet() % 16) {
  case 1: length = input.up_to(sizeof(reply)); break;
  case 2: reply = input.take<ipc_wire::GreetingReply>(); break;
  case 3: reply.version = input.octet(); break;
  case 4: reply.accepted = input.octet(); break;
  default: break;
  }
  send_to_agent(peer, &reply, length);
  return 0;
}

/** A message of any length up to `room`, those beyond a frame's included. */
void say(FuzzInput &input, const Fd &peer, const FrameHeader &header, size_t room) {
  const size_t length = input.up_to(room);
  std::vector<uint8_t> message(std::max(length, sizeof(header)));
  memcpy(message.data(), &header, sizeof(header));
  std::ranges::copy(input.octets(message.size() - sizeof(header)),
                    message.begin() + sizeof(header));
  send_to_agent(peer, message.data(), length);
}

void lie(FuzzInput &input, const Fd &peer, uint32_t meant_sequence) {
  for (int i = input.octet() % 32; i > 0 && !input.empty(); --i) {
    FrameHeader header{};
    header.sequence = meant_sequence + input.octet();
    header.opcode = input.take<uint16_t>();
    header.result = input.octet();
    header.rows = input.octet();
    say(input, peer, header, sizeof(ipc_wire::Frame) + 64);
  }
}

void answer(FuzzInput &input) {
  FrameHeader header{};
  header.sequence = sequence + 1;
  header.result = input.take<int32_t>();
  header.rows = input.octet() % 4;
  say(input, exchanges, header, sizeof(ipc_wire::Frame));
}

void hear_requests() {
  ipc_wire::Frame request{};
  ssize_t length = 0;
  while (exchanges &&
         (length = recv(exchanges.get(), &request, sizeof(request), MSG_DONTWAIT)) > 0) {
    if (length != sizeof(ipc_wire::Greeting)) {
      require(static_cast<size_t>(length) >= sizeof(FrameHeader) &&
                  request.header.user[sizeof(request.header.user) - 1] == '\0',
              "a request has a header, and a user's name ends");
      sequence = request.header.sequence;
    }
  }
}

// ---- The agent's end

/** A request of the agent, with lies in front of the answer, if there is one. */
void exchange(FuzzInput &input) {
  const uint8_t choice = input.octet();
  lie(input, exchanges, sequence + 1);
  choice % 4 != 0 ? answer(input) : void(shutdown(exchanges.get(), SHUT_WR));
  const uint8_t request[IPC_MESSAGE_ROOM] = {};
  auto length = static_cast<uint32_t>(input.up_to(IPC_MESSAGE_ROOM + 1));
  void *response = nullptr;
  const int32_t result = ipc_req_resp(1402, 1, request, choice % 8 < 6 ? &response : nullptr,
                                      &length, "user", 1, 20, ipc_response_queue, 0);
  require(result == 0 || (result % 256 != 0 && response == nullptr),
          "a failure stays one in its low octet, and brings no response");
  require(response == nullptr || read_all(response, length).size() <= IPC_MESSAGE_ROOM,
          "a response is no longer than the room");
  free(response);
  hear_requests();
}

netsnmp_variable_list *receive(const IpcMessage *message, oid * /*trap_oid*/,
                               size_t * /*trap_oid_length*/, int *send) {
  read_all(ipc_payload_get(message), IPC_MESSAGE_ROOM);
  *send = 0;
  return nullptr;
}

bool start_agent_end() {
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);
  settings_for_change().exchange_timeout = std::chrono::milliseconds(10);
  snmp_disable_log();
  for (const uint32_t opcode : {1407U, 1408U, 1409U}) {
    agent_notif_register(opcode, receive);
  }
  return true;
}

// ---- Rows that come along

/** A key of few values, so that some are the same. */
std::vector<uint8_t> take_key(FuzzInput &input, const FcsKeyForm &form) {
  std::vector<uint8_t> key = input.octets(form.length());
  std::ranges::transform(key, key.begin(), [](uint8_t octet) { return "\0\1\2\xFF"[octet % 4]; });
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

/** Rows in order or not, and what is made of them. */
void keep_rows(FuzzInput &input) {
  static ipc_wire::Reply reply;
  RequestRows rows;
  rows.serve(1);
  std::vector<uint8_t> request;
  for (int i = input.octet() % 4; i >= 0; --i) {
    RowQuestion question = take_question(input, request);
    for (ipc_wire::VsanRange &range : question.shown.ranges) {
      range = {input.octet(), input.octet()};
    }
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
    if (const auto found = rows.find(question); found && found->result == 0) {
      const size_t length = question.form->length();
      const auto record = read_all(found->record.data(), found->record.size());
      require(record.size() >= length && (memcmp(record.data(), question.key, length) == 0) ==
                                             (question.operation == FCS_OP_GET),
              "a row has a key, and is the one asked for, or another");
    }
  }
  rows.serve(2);
  require(!rows.find(take_question(input, request)), "another request begins without rows");
}

void take_step(FuzzInput &input) {
  switch (input.octet() % 5) {
  case 0: exchange(input); break;
  case 1: lie(input, exchanges, sequence); break;
  case 2: lie(input, notifications, 0); break;
  case 3: service_connection_open(); break;
  case 4: keep_rows(input); break;
  }
  serve_agent();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *octets, size_t length) {
  constexpr int kMostSteps = 8;
  [[maybe_unused]] static const bool started = start_agent_end();
  FuzzInput input(octets, length);
  service_peer::on_connection = [&](Fd end) { return take_connection(input, std::move(end)); };
  service_connection_open();
  for (int i = 0; i < kMostSteps && !input.empty(); ++i) {
    take_step(input);
  }
  service_connection_close();
  return 0;
}
