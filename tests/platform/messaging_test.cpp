/** The module's requests to the FCS service, and the service's notifications to the module. */
#include "agent.h"

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "platform/agent_host.h"
#include "platform/ipc.h"
#include "platform/linux/messaging/notification_switches.h"
#include "platform/linux/messaging/service_connection.h"

#include <array>
#include <cerrno>
#include <map>

#include <net-snmp/agent/agent_callbacks.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::vector<std::string> seen;
std::map<uint32_t, int> answers; ///< Of the handlers, by opcode: whether to send a notification.

netsnmp_variable_list *handle(const IpcMessage *message, oid *trap_oid, size_t *length, int *send) {
  const auto *payload = static_cast<const char *>(ipc_payload_get(message));
  EXPECT_TRUE(std::all_of(payload + strlen(payload), payload + IPC_MESSAGE_ROOM,
                          [](char octet) { return octet == 0; }));
  seen.emplace_back(payload);
  const uint32_t opcode = static_cast<uint32_t>(atoi(payload));
  if (seen.size() == 1 && opcode == FCS_MSG_TIMEOUT_ON_VSAN) {
    const IpcAddress own = {{0xFE}};
    const IpcAddress other = {{0xFE, 1}};
    EXPECT_EQ(
        ipc_send(ipc_response_queue, &own, FCS_MSG_DISC_COMP_ON_VSAN, "1409 later", 11, 0, 0, 0),
        0);
    EXPECT_EQ(ipc_send(ipc_response_queue, &other, FCS_MSG_DISC_COMP_ON_VSAN, "", 1, 0, 0, 0), -1);
    EXPECT_EQ(ipc_send(ipc_response_queue, &own, FCS_MSG_DISC_COMP_ON_VSAN, "", 1025, 0, 0, 0), -1);
    seen.emplace_back("sent");
  }
  *send = answers[opcode];
  const oid trap[] = {1, 3, 6, 1, 4, 1, 32473, opcode};
  std::copy(std::begin(trap), std::end(trap), trap_oid);
  *length = std::size(trap);
  const int32_t value = -5;
  const oid name[] = {1, 3, 9};
  return agent_build_varbind(nullptr, &value, ASN_INTEGER, sizeof(value), name, 3);
}

/** Of each SNMP notification: its trap's last sub-identifier and length, and its own binding. */
int keep_trap(int /*major*/, int /*minor*/, void *pdu, void * /*client*/) {
  const netsnmp_variable_list *binding = static_cast<netsnmp_pdu *>(pdu)->variables;
  while (binding->type != ASN_OBJECT_ID) {
    binding = binding->next_variable;
  }
  const netsnmp_variable_list *own = binding->next_variable;
  seen.push_back("trap " + std::to_string(binding->val.objid[7]) + " " +
                 std::to_string(binding->val_len / sizeof(oid)) + " " +
                 std::to_string(*own->val.integer) +
                 (own->next_variable == nullptr ? "" : " more"));
  return SNMPERR_SUCCESS;
}

class Messaging : public Agent {
protected:
  Messaging() {
    // An exchange without an answer tells how far the connection has counted in other tests.
    settings_for_change().exchange_timeout = 0ms;
    connect();
    ask("");
    exchanges_ = hear().header.sequence;
    settings_for_change().exchange_timeout = 50ms;
    connect();
    seen.clear();
    answers.clear();
  }
  ~Messaging() override { service_connection_close(); }

  struct Heard {
    ipc_wire::FrameHeader header{};
    std::string payload;
  };

  /** The agent's next message. */
  Heard hear() const {
    ipc_wire::Frame frame{};
    const ssize_t length = recv(peers_[0].get(), &frame, sizeof(frame), MSG_DONTWAIT);
    if (length < static_cast<ssize_t>(sizeof(frame.header))) {
      return {};
    }
    return {frame.header,
            {reinterpret_cast<char *>(frame.payload),
             static_cast<size_t>(length) - sizeof(frame.header)}};
  }

  /** Has the answer to the next request on its way. */
  void answer(int32_t result, const std::string &payload) {
    ipc_wire::FrameHeader header{};
    header.sequence = ++exchanges_;
    header.result = result;
    say(peers_[0], header, payload);
  }

  void connect() {
    peers_.clear();
    service_connection_open();
    pass(0ms);
    log();
    hear(); // The greeting.
  }

  /** What is seen of a notification. */
  std::vector<std::string> seen_of(uint32_t opcode) {
    seen.clear();
    ipc_wire::FrameHeader header{};
    header.opcode = opcode;
    say(peers_[1], header, std::to_string(opcode));
    pass(0ms);
    return seen;
  }

  /** An exchange. \return what the module gets: its result, and the response. */
  static std::pair<int32_t, std::string> ask(const std::string &request, uint32_t opcode = 1402,
                                             uint32_t flag = 1) {
    auto length = static_cast<uint32_t>(request.size());
    void *response = nullptr;
    errno = 0;
    const int32_t result = ipc_req_resp(opcode, flag, request.data(), &response, &length, kUser, 9,
                                        FCS_SERVICE_ID, ipc_response_queue, 0);
    std::string octets =
        response == nullptr ? "none" : std::string(static_cast<char *>(response), length);
    free(response);
    return {result, octets};
  }

  static constexpr char kUser[] =
      "a-name-of-sixty-four-octets-which-is-one-more-than-a-header-takes";
  uint32_t exchanges_ = 0; ///< The sequence number of the last one.
};

TEST_F(Messaging, ARequestAndWhatTheModuleGetsForIt) {
  using Answer = std::pair<int32_t, std::string>;
  answer(0, "answer");
  EXPECT_EQ(ask("request", 1405, 3), Answer(0, "answer"));
  const Heard heard = hear();
  EXPECT_EQ(heard.payload, "request");
  EXPECT_EQ(heard.header.opcode, 1405U);
  EXPECT_EQ(heard.header.flag, 3U);
  EXPECT_EQ(heard.header.session, 9U);
  EXPECT_EQ(heard.header.rows, 1U);
  EXPECT_EQ(heard.header.processor, 0U);
  EXPECT_EQ(heard.header.user, std::string(kUser, 63));

  answer(0, "");
  EXPECT_EQ(ask(""), Answer(0, ""));
  for (const auto &[code, expected] :
       {std::pair(5, 5), {-7, -7}, {-1, -1}, {256, -1}, {0x7F00, -1}, {-256, -1}, {257, 257}}) {
    answer(code, "record");
    EXPECT_EQ(ask("r"), Answer(expected, "none"));
    EXPECT_EQ(errno, expected == -1 ? EPROTO : 0);
  }
  EXPECT_EQ(ask(std::string(1025, 'r')), Answer(-1, "none"));
  EXPECT_EQ(errno, EMSGSIZE);
  answer(0, "x");
  EXPECT_EQ(ask(std::string(1024, 'r')), Answer(0, "x"));
  service_connection_close();
  EXPECT_EQ(ask("r"), Answer(-1, "none"));
  EXPECT_EQ(errno, ENOTCONN);
}

TEST_F(Messaging, HandlersGetNotificationsAndSayWhatBecomesOfThem) {
  for (const uint32_t opcode : {1407U, 1408U, 1409U, 1411U, 1415U}) {
    agent_notif_register(opcode, handle);
  }
  snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_SEND_TRAP2, keep_trap, nullptr);
  EXPECT_THAT(seen_of(1415), ElementsAre("1415")) << "the handler has none to send";
  answers = {{1407, 1}, {1408, 1}, {1409, 1}, {1415, 1}};
  EXPECT_THAT(seen_of(1415), ElementsAre("1415", "trap 1415 8 -5"));
  for (const uint32_t opcode : {1407U, 1408U}) {
    agent_notif_enable_set(opcode, 0);
    EXPECT_THAT(seen_of(opcode), ElementsAre(std::to_string(opcode))) << "switched off";
    agent_notif_enable_set(opcode, 1);
    EXPECT_EQ(seen_of(opcode).size(), 2U);
  }
  EXPECT_THAT(seen_of(1411), ElementsAre("1411", "sent", "1409 later", "trap 1409 8 -5"));

  agent_notif_unregister(1415);
  EXPECT_THAT(seen_of(1415), IsEmpty());
  EXPECT_THAT(seen_of(4711), IsEmpty());
  static size_t times_reported = 0;
  const std::string said = log();
  times_reported +=
      said.find("fcs: notification with unknown opcode 1415; it and its like are dropped") !=
      std::string::npos;
  EXPECT_EQ(times_reported, 1U) << "once in the life of the agent";
  EXPECT_THAT(said, Not(HasSubstr("4711")));
  EXPECT_EQ(seen_of(1409).size(), 2U);
  for (const uint32_t opcode : {1407U, 1408U, 1409U, 1411U}) {
    agent_notif_unregister(opcode);
    agent_notif_enable_set(opcode, 0);
  }
  snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_SEND_TRAP2, keep_trap, nullptr,
                           0);
}

} // namespace
