#include "agent.h"

#include "platform/linux/roles/roles.h"

#include <filesystem>

using namespace std::chrono;

namespace {

constexpr auto kStart = 1'700'000'000s; ///< Behind the Epoch.
nanoseconds passed;
std::string logged;

const Name kRoot = {1, 3, 6, 1, 4, 1, 32473, 1, 1};

int keep_line(int /*major*/, int /*minor*/, void *message, void * /*client*/) {
  logged += static_cast<snmp_log_message *>(message)->msg;
  return SNMPERR_SUCCESS;
}

void start_library() {
  netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE, "snmpd");
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  init_agent("snmpd");
  init_snmp_alarm();
  snmp_disable_stderrlog();
  snmp_enable_calllog();
  snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, keep_line, nullptr);
}

} // namespace

/** In place of the C library's: of whatever clock, it is as late as the tests have made it. */
extern "C" int clock_gettime(clockid_t /*clock*/, timespec *now) noexcept {
  *now = {static_cast<time_t>(kStart.count() + passed / 1s),
          static_cast<long>((passed % 1s).count())};
  return 0;
}

Agent::Agent() {
  [[maybe_unused]] static const bool started = (start_library(), true);
  EXPECT_NE(mkdtemp(directory_), nullptr);
  netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OPTIONALCONFIG, nullptr);
  settings_for_change() = Settings();
  roles_reset();
  logged.clear();
  service_peer::on_connection = [this](Fd peer) {
    const auto greeting = ipc_wire::reply_to_greeting("");
    service_peer::send_to_agent(peer, &greeting, sizeof(greeting));
    peers_.push_back(std::move(peer));
    return 0;
  };
}

Agent::~Agent() {
  service_peer::on_connection = nullptr;
  std::filesystem::remove_all(directory_);
}

void Agent::keep_busy(nanoseconds duration) {
  passed += duration;
}

void Agent::pass(nanoseconds duration) {
  keep_busy(duration + 1us); // An alarm is due behind its moment.
  run_alarms();
  service_peer::serve_agent();
}

void Agent::say(const Fd &peer, const ipc_wire::FrameHeader &header, const std::string &payload) {
  const std::string head(reinterpret_cast<const char *>(&header), sizeof(header));
  service_peer::send_to_agent(peer, (head + payload).data(), sizeof(header) + payload.size());
}

std::string Agent::log() {
  return std::exchange(logged, {});
}

std::string Agent::configure(std::string line) {
  log();
  char *value = &line[line.find(' ')];
  *value++ = '\0';
  const config_line *token = read_config_get_handlers("snmpd");
  while (token != nullptr && strcasecmp(token->config_token, line.c_str()) != 0) {
    token = token->next;
  }
  if (token == nullptr) {
    return "Unknown token";
  }
  token->parse_line(token->config_token, value);
  return log();
}

Message::Message(int command, const std::vector<Name> &names, const std::string &user)
    : requests(names.size()), user_(user) {
  static long requests_made = 0;
  pdu.command = command;
  pdu.version = SNMP_VERSION_3;
  pdu.securityName = user_.data();
  pdu.securityNameLen = user_.size();
  pdu.transid = pdu.reqid = ++requests_made;
  for (const Name &name : names) {
    Name whole = kRoot;
    whole.insert(whole.end(), name.begin(), name.end());
    snmp_varlist_add_variable(&pdu.variables, whole.data(), whole.size(), ASN_NULL, nullptr, 0);
  }
  session_.pdu = session_.orig_pdu = &pdu;
  info_.asp = &session_;
  info_.mode = MODE_GET;
  netsnmp_variable_list *binding = pdu.variables;
  for (size_t i = 0; i < requests.size(); ++i, binding = binding->next_variable) {
    requests[i].requestvb = binding;
    requests[i].agent_req_info = &info_;
    requests[i].next = i + 1 < requests.size() ? &requests[i + 1] : nullptr;
  }
}

Message::~Message() {
  for (netsnmp_request_info &request : requests) {
    netsnmp_free_all_list_data(request.parent_data);
  }
  snmp_free_varbind(pdu.variables);
}

Message &Message::with(u_char type, const void *value, size_t length) {
  snmp_set_var_typed_value(requests.back().requestvb, type, value, length);
  return *this;
}

int Message::serve(int mode) {
  const netsnmp_variable_list &first = *requests[0].requestvb;
  info_.mode = mode;
  netsnmp_call_handlers(netsnmp_subtree_find(first.name, first.name_length, nullptr, "")->reginfo,
                        &info_, requests.data());
  return requests[0].status;
}

Name Message::name(size_t binding) const {
  const netsnmp_variable_list &vb = *requests[binding].requestvb;
  return {vb.name + kRoot.size(), vb.name + vb.name_length};
}

bool Message::is_answered(size_t binding) const {
  return requests[binding].requestvb->type != ASN_NULL;
}
