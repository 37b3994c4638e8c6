#include "agent.h"

#include "tests/service_peer.h"

#include <utility>

using namespace std::chrono;

namespace {

nanoseconds passed;

const Name kRoot = {1, 3, 6, 1, 4, 1, 32473, 1, 1};

int keep_line(int /*major*/, int /*minor*/, void *message, void * /*client*/) {
  static const char *const levels[] = {"emerg",   "alert",  "crit", "error",
                                       "warning", "notice", "info", "debug"};
  static bool in_line;
  const auto &logged = *static_cast<snmp_log_message *>(message);
  std::string text = logged.msg;
  const bool ends = text.ends_with('\n');
  text.resize(text.size() - (ends ? 1 : 0));
  if (in_line) {
    Agent::events.back() += text;
  } else {
    Agent::events.push_back(std::string(levels[logged.priority]) + " " + text);
  }
  in_line = !ends;
  return SNMPERR_SUCCESS;
}

} // namespace

/** In place of the C library's: of whatever clock, it is as late as the tests have made it. */
extern "C" int clock_gettime(clockid_t /*clock*/, timespec *now) noexcept {
  *now = {static_cast<time_t>(kStart.count() + passed / 1s),
          static_cast<long>((passed % 1s).count())};
  return 0;
}

Agent::Agent(const std::string &directory) {
  netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE, "snmpd");
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OPTIONALCONFIG,
                        (directory + "/none," + directory + "/fcs.conf").c_str());
  set_persistent_directory(directory.c_str());
  init_agent("snmpd");
  init_snmp_alarm();
  snmp_disable_stderrlog();
  snmp_enable_calllog();
  snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, keep_line, nullptr);
}

void Agent::keep_busy(nanoseconds duration) {
  passed += duration;
}

void Agent::pass(nanoseconds duration) {
  keep_busy(duration + 1us); // An alarm is due behind its moment.
  run_alarms();
  service_peer::serve_agent();
}

std::vector<std::string> Agent::take_events() {
  return std::exchange(events, {});
}

static const config_line *token_of(const std::string &start, size_t length) {
  const config_line *token = read_config_get_handlers("snmpd");
  while (token != nullptr && strncasecmp(token->config_token, start.c_str(), length) != 0) {
    token = token->next;
  }
  return token;
}

void Agent::configure(std::string line) {
  const size_t blank = line.find(' ');
  const config_line *token = token_of(line.substr(0, blank), blank + 1);
  if (token == nullptr) {
    events.emplace_back("unknown token");
  } else {
    token->parse_line(token->config_token, &line[blank + 1]);
  }
}

bool Agent::has_token(const std::string &start) {
  return token_of(start, start.size()) != nullptr;
}

Message::Message(int command, const std::vector<Name> &names, const std::string &user, char type,
                 const std::string &value)
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
    snmp_add_var(&pdu, whole.data(), whole.size(), &name == &names.back() ? type : 'n',
                 value.c_str());
  }
  session_.pdu = session_.orig_pdu = &pdu;
  info.asp = &session_;
  info.mode = MODE_GET;
  netsnmp_variable_list *binding = pdu.variables;
  for (size_t i = 0; i < requests.size(); ++i, binding = binding->next_variable) {
    requests[i].requestvb = binding;
    requests[i].agent_req_info = &info;
    requests[i].next = i + 1 < requests.size() ? &requests[i + 1] : nullptr;
  }
}

Message::~Message() {
  for (netsnmp_request_info &request : requests) {
    netsnmp_free_all_list_data(request.parent_data);
  }
  snmp_free_varbind(pdu.variables);
}

void Message::serve(int mode) {
  const netsnmp_variable_list &first = *requests[0].requestvb;
  info.mode = mode;
  netsnmp_call_handlers(netsnmp_subtree_find(first.name, first.name_length, nullptr, "")->reginfo,
                        &info, requests.data());
}

Name Message::name_of(const netsnmp_request_info &request) {
  const netsnmp_variable_list &binding = *request.requestvb;
  return {binding.name + kRoot.size(), binding.name + binding.name_length};
}
