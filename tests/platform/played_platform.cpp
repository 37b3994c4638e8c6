/** The platform as a program that transcripts play: an agent, the FCS service's ends of its
 * connections, and what takes the module's place. */
#include "agent.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "history_steps.h"
#include "module_stand_in.h"
#include "platform/agent_host.h"
#include "platform/ipc.h"
#include "platform/linux/configuration_tokens.h"
#include "platform/linux/messaging/notification_switches.h"
#include "platform/linux/messaging/service_connection.h"
#include "platform/linux/request/agent_request.h"
#include "platform/linux/roles/roles.h"
#include "platform/linux/settings/settings.h"
#include "platform/role.h"
#include "service_ends.h"
#include "tests/played_program.h"
#include "tests/require.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <sys/socket.h>
#include <utility>

using std::chrono::milliseconds;

extern "C" void init_fcs();
extern "C" void deinit_fcs();

namespace {

/** The VSANs of a set, as a role's list has them. */
std::string list_of(const VsanBitmap &set) {
  std::string list;
  for (uint32_t vsan = 0; role_next_allowed_vsan(&vsan, set) != 0;) {
    const uint32_t first = vsan;
    while (role_vsan_allowed(vsan + 1, set) != 0) {
      ++vsan;
    }
    list += (list.empty() ? "" : ",") + std::to_string(first) +
            (first == vsan ? "" : "-" + std::to_string(vsan));
  }
  for (const uint32_t beyond : {4095U, 4096U, 0xFFFFFFFFU}) {
    uint32_t vsan = beyond;
    require(role_next_allowed_vsan(&vsan, set) == 0, "no VSAN lies behind the last");
    require(beyond == 4095 || role_vsan_allowed(beyond, set) == 0, "nor is one allowed");
  }
  return list.empty() ? "none" : list;
}

/** Calls `act` while a GETBULK of a user is served. */
template <typename Act> void within_request(const std::string &user, int repetitions, Act act) {
  Message message(SNMP_MSG_GETBULK, {{1, 1, 2, 0}}, user);
  message.requests[0].repeat = repetitions;
  const ServedRequest served(message.info, message.requests.data());
  act();
}

/** Tells what the module has left with the agent, or has there. */
void show_what_is_left() {
  const oid name[] = {1, 3, 6, 1, 4, 1, 32473, 1, 1, 1, 1, 2};
  Agent::tell(netsnmp_subtree_find(name, std::size(name), nullptr, "")->reginfo->handlerName);
  Agent::tell(Agent::has_token("fcs") ? "tokens" : "no tokens");
}

/** The agent has read its configuration, whose lack of access control it complains of. */
void has_read_configuration() {
  snmp_call_callbacks(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, nullptr);
  std::erase_if(Agent::events, [](const std::string &event) {
    return event.starts_with("warning Warning: no access control");
  });
}

void start_debugging(const std::string &token) {
  snmp_set_do_debugging(1);
  debug_register_tokens(token.c_str());
  Agent::take_events();
}

/** Makes a request of the module, and tells what it gets for it. */
void make_request(const std::string &request, uint32_t opcode, uint32_t flag,
                  const std::string &user = "olga") {
  auto length = static_cast<uint32_t>(request.size());
  void *response = nullptr;
  errno = 0;
  const int32_t result = ipc_req_resp(opcode, flag, request.data(), &response, &length,
                                      user.c_str(), 9, FCS_SERVICE_ID, ipc_response_queue, 0);
  last_sequence += errno == EPIPE ? 1 : 0;
  Agent::tell(
      std::to_string(result) + (errno == 0 ? "" : std::string(" ") + strerrorname_np(errno)) +
      (response == nullptr ? "" : " '" + readable({static_cast<char *>(response), length}) + "'"));
  free(response);
}

std::string text_of_settings() {
  const Settings &is = settings();
  return is.service_socket +
         (is.service_uid ? " of user id " + std::to_string(*is.service_uid) : "") + " within " +
         std::to_string(is.exchange_timeout.count()) + " ms, level " +
         std::to_string(is.history_level) + " into " + is.history_file;
}

class Steps {
public:
  explicit Steps(const std::string &directory) : agent_(directory) {
    settings_for_change().service_socket = "/s";
    settings_for_change().exchange_timeout = 10ms;
    settings_ = text_of_settings();
    steps_.merge(history_steps(words_));
  }

  std::vector<std::string> take(std::istringstream step) {
    words_ = std::move(step);
    try {
      steps_.at(word())();
    } catch (const std::runtime_error &fault) {
      Agent::tell(fault.what());
    }
    service_.hear();
    if (std::exchange(settings_, text_of_settings()) != settings_) {
      Agent::tell(settings_);
    }
    return Agent::take_events();
  }

private:
  template <typename T = std::string> T word(T otherwise = {}) {
    return ::take<T>(words_, otherwise);
  }
  std::string rest() {
    std::string text;
    return std::getline(words_ >> std::ws, text) ? text : "";
  }
  ServiceEnds::End &end() {
    return word() == "exchanges" ? service_.exchanges : service_.notifications;
  }

  /** A line of snmpd.conf, with some blanks too many. */
  void line() {
    const std::string token = word();
    Agent::configure(token + "  " + rest() + " ");
  }

  void flip() {
    const auto opcode = word<uint32_t>();
    const int32_t before = agent_notif_enable_get(opcode);
    const int32_t result = agent_notif_enable_set(opcode, word<int>());
    Agent::tell(std::to_string(before) + ", then " +
                std::to_string(agent_notif_enable_get(opcode)) + (result == 0 ? "" : ": refused"));
  }

  /** The greeting of the connections to come. */
  void greet() {
    const std::string fault = word();
    service_.greeting = ipc_wire::reply_to_greeting(fault == "refusal" ? "user 7 may not" : "");
    service_.greeting_length = fault == "none" ? 0 : fault == "short" ? 127 : 128;
    if (fault == "version") {
      service_.greeting.version = 9;
    } else if (fault == "order") {
      service_.greeting.byte_order = 0x04030201;
    } else if (fault == "magic") {
      service_.greeting.magic[0] = 'f';
    }
  }

  /** The answer to the exchange to come: PAYLOAD [RESULT [ROWS [SEQUENCE]]]. */
  void answer() {
    const std::string payload = word();
    ipc_wire::FrameHeader header{};
    header.result = word<int32_t>();
    header.rows = word<uint32_t>();
    header.sequence = last_sequence + 1 + static_cast<uint32_t>(word<int>());
    service_.exchanges.say(header, payload);
  }

  void notify() {
    ipc_wire::FrameHeader header{};
    header.opcode = word<uint32_t>();
    const std::string payload = word();
    for (int times = word(1); times > 0; --times) {
      service_.notifications.say(header, payload);
    }
  }

  /** A request: PAYLOAD [OPCODE [FLAG [USER]]]. */
  void ask() {
    const std::string request = word();
    const auto opcode = word(1402U);
    const auto flag = word(1U);
    make_request(request, opcode, flag, word(user_));
  }

  void ask_for_rows() {
    const int rows = word<int>();
    const uint32_t words[] = {FCS_REC_PLATFORM, 0, 0};
    const std::string request(reinterpret_cast<const char *>(words), sizeof(words));
    within_request(user_, rows - 1,
                   [&] { make_request(request, FCS_MSG_REQUEST, FCS_OP_GETNEXT); });
  }

  /** A message for the names that follow; the last one may have a value, "i:5" or "s:text". */
  Steps &begin(int command, int repetitions = 0) {
    std::vector<Name> names;
    std::string each = word();
    for (; !each.empty() && each[1] != ':'; each = word()) {
      names.push_back(module_stand_in::name_of(each));
    }
    const char type = each.empty() ? 'n' : each[0];
    message_.emplace(command, names, user_, type, each.empty() ? "" : each.substr(2));
    message_->requests.back().repeat = repetitions;
    return *this;
  }

  /** Serves a read, and tells its answers. */
  void serve(int mode) {
    message_->serve(mode);
    for (const netsnmp_request_info &request : message_->requests) {
      Agent::tell((request.requestvb->type == ASN_NULL ? "no answer at " : "= ") +
                  module_stand_in::text_of(Message::name_of(request)));
    }
  }

  /** Serves the message once more, or as one with no transaction, or another id. */
  void serve_again(const std::string &difference) {
    message_->pdu.transid *= difference == "none" ? 0 : 1;
    message_->pdu.reqid *= difference == "id" ? -1 : 1;
    serve(message_->info.mode);
  }

  /** Serves the phases of a SET, 1 and 2 for those that reserve, A, C, F, U. */
  void serve_phases() {
    const netsnmp_variable_list &binding = *message_->requests.back().requestvb;
    const std::string before(reinterpret_cast<char *>(binding.val.string), binding.val_len);
    for (const char phase : word()) {
      const int status = message_->requests.back().status;
      message_->serve(static_cast<int>(std::string("12ACFU").find(phase)));
      if (message_->requests.back().status != status) {
        Agent::tell("status " + std::to_string(message_->requests.back().status));
      }
      if (before != std::string(reinterpret_cast<char *>(binding.val.string), binding.val_len)) {
        Agent::tell("the value has changed");
      }
    }
  }

  /** The VSANs that a user may read and write, and of those that follow what is left of them. */
  void show_access(const std::string &user) {
    VsanBitmap list{VSAN_WHOLE_BYTES, {}};
    for (int vsan = word(0); vsan != 0; vsan = word(0)) {
      bitmap_set_bit(&list, vsan);
    }
    within_request(user, 0, [&] {
      for (const int access : {ROLE_ACCESS_READ, ROLE_ACCESS_WRITE}) {
        VsanBitmap allowed{VSAN_WHOLE_BYTES, {}};
        VsanBitmap filtered{VSAN_WHOLE_BYTES, {0xFF}};
        const bool restricted = role_allowed_vsans(&allowed, nullptr, 0, access) != 0;
        const bool is_told =
            role_allowed_vsans_from_list(&list, &filtered, nullptr, 0, access) == 0;
        Agent::tell(
            std::string(access == ROLE_ACCESS_READ ? "reads " : "writes ") +
            (restricted ? list_of(allowed) : "everything") + ", of the list " +
            (is_told ? list_of(filtered) : "unknown") +
            (role_vsan_bitmap_allowed(&list, nullptr, 0, access) == 1 ? " as a whole" : ""));
      }
    });
  }

  Agent agent_;
  ServiceEnds service_;
  std::string settings_;
  std::string user_ = "olga";
  std::optional<Message> message_;
  std::istringstream words_;
  StepTable steps_ = {
      {"pass", [this] { Agent::pass(milliseconds(word<int>())); }},
      {"busy", [this] { Agent::keep_busy(milliseconds(word<int>())); }},
      {"debug", [this] { start_debugging(word()); }},
      {"tokens", configuration_tokens_register},
      {"no-tokens", configuration_tokens_unregister},
      {"line", [this] { line(); }},
      {"service-user",
       [this] { settings_for_change().service_uid = word() == "own" ? geteuid() : kNobody; }},
      {"switches", notification_switches_register},
      {"no-switches", notification_switches_unregister},
      {"switch", [this] { flip(); }},
      {"store", [] { snmp_store("snmpd"); }},
      {"left", show_what_is_left},
      {"load", init_fcs},
      {"unload", deinit_fcs},
      {"has-read", has_read_configuration},

      {"open", service_connection_open},
      {"close", service_connection_close},
      {"greeting", [this] { greet(); }},
      {"refuse", [this] { service_.refusal = word<int>(); }},
      {"deaf", [this] { service_.is_deaf = true; }},
      {"greet", [this] { service_.greet(end()); }},
      {"octets", [this] { end().say(std::string(word<size_t>(), 'x')); }},
      {"say-no-more", [this] { shutdown(end().peer.get(), SHUT_WR); }},
      {"hang-up", [this] { end().peer = Fd(); }},
      {"answer", [this] { answer(); }},
      {"notify", [this] { notify(); }},
      {"ask", [this] { ask(); }},
      {"ask-for-rows", [this] { ask_for_rows(); }},

      {"handle", [this] { module_stand_in::take_notifications(word<uint32_t>()); }},
      {"ignore", [this] { agent_notif_unregister(word<uint32_t>()); }},
      {"stand-in", module_stand_in::take_variables},
      {"answers",
       [this] {
         module_stand_in::answers.assign({word(), word()});
       }},
      {"question", [this] { module_stand_in::question = word(); }},
      {"as", [this] { user_ = word(); }},
      {"relayed",
       [this] {
         agent_requests_are_relayed(UsersOfContexts{{"", word()}});
       }},
      {"new-master", agent_request_forget_last},
      {"get", [this] { begin(SNMP_MSG_GET).serve(MODE_GET); }},
      {"next", [this] { begin(SNMP_MSG_GETNEXT).serve(MODE_GETNEXT); }},
      {"bulk", [this] { begin(SNMP_MSG_GETBULK, word<int>()).serve(MODE_GETNEXT); }},
      {"set", [this] { begin(SNMP_MSG_SET); }},
      {"phases", [this] { serve_phases(); }},
      {"again", [this] { serve_again(word()); }},
      {"told", [this] { Agent::tell(module_stand_in::told(word())); }},

      {"no-roles", roles_reset},
      {"role", [this] { Agent::tell(roles_define(rest().c_str())); }},
      {"user", [this] { Agent::tell(roles_assign(rest().c_str())); }},
      {"sees", [this] { show_access(word()); }},
  };
};

} // namespace

int main(int /*argc*/, char **argv) {
  stdout = stderr; // What the module prints is not looked at.
  Steps steps(argv[1]);
  answer_commands([&](std::istringstream &step) { return steps.take(std::move(step)); });
}
