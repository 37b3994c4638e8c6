#include "module_stand_in.h"

#include "feature/fabric_conf_server/snmp/fcs_variables.h"
#include "platform/agent_host.h"
#include "platform/ipc.h"
#include "platform/linux/agent/interception.h"
#include "platform/linux/request/agent_request.h"

#include "service_ends.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <sched.h>
#include <sstream>

#include <net-snmp/agent/agent_callbacks.h>

using module_stand_in::answers;
using module_stand_in::question;

namespace {

constexpr size_t kRootLength = 9;

int processors() {
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  sched_getaffinity(0, sizeof(allowed), &allowed);
  return CPU_COUNT(&allowed);
}
const int all_processors = processors();

/** How many exchanges of a request it takes for the agent to stay on its processor. */
std::string told_of_processor() {
  for (int exchanges = 1; exchanges <= 20; ++exchanges) {
    if (const uint32_t processor = agent_request_processor(); processor != 0) {
      const bool holds =
          processors() == 1 && processor == static_cast<uint32_t>(sched_getcpu()) + 1;
      return (holds ? "held from exchange " : "wrong from exchange ") + std::to_string(exchanges);
    }
  }
  return processors() == all_processors ? "free" : "still held";
}

std::string told_of_rows() {
  const RowUse use = agent_request_row_use();
  return std::to_string(use.rows) + (use.request == -1                       ? " alone"
                                     : use.request == agent_request_number() ? " of this request"
                                                                             : " of another");
}

/** Tells of a call, and what the platform says during it. */
void tell(const std::string &call) {
  Agent::tell(call + (question.empty() ? "" : ", " + module_stand_in::told(question)));
}

int write(int phase, u_char *value, u_char type, size_t length, u_char * /*read*/, oid * /*name*/,
          size_t /*name_length*/) {
  static const std::array phases = {"RESERVE1", "RESERVE2", "ACTION", "COMMIT", "FREE", "UNDO"};
  const netsnmp_variable_list &binding = *agent_request_binding();
  std::string text(reinterpret_cast<char *>(value), length);
  if (type != ASN_OCTET_STR && length == sizeof(int32_t)) {
    text = std::to_string(*reinterpret_cast<int32_t *>(value));
  }
  tell(phases.at(static_cast<size_t>(phase)) + std::string(" .") +
       std::to_string(binding.name[binding.name_length - 1]) + " " + text);
  return text == "fails" && phase == ACTION ? SNMP_ERR_GENERR : SNMP_ERR_NOERROR;
}

u_char *read(variable * /*variable*/, oid *name, size_t *length, int /*exact*/,
             size_t *value_length, WriteMethod **write_method) {
  static int32_t value = 7;
  std::string answer = module_stand_in::text_of({name + kRootLength, name + *length});
  tell("read " + answer);
  *write_method = write;
  if (!answers.empty()) {
    answer = answers.front();
    answers.pop_front();
  }
  if (answer == "none") {
    return nullptr;
  }
  const Name found = module_stand_in::name_of(answer);
  std::copy(found.begin(), found.end(), name + kRootLength);
  *length = kRootLength + found.size();
  *value_length = sizeof(value);
  return reinterpret_cast<u_char *>(&value);
}

/** The payload says what is done: "send" sends to itself, a number takes so many milliseconds, and
 * "news" alone is announced to managers. */
netsnmp_variable_list *handle(const IpcMessage *message, oid *trap_oid, size_t *length, int *send) {
  const auto *octets = static_cast<const char *>(ipc_payload_get(message));
  const std::string payload(octets, strnlen(octets, IPC_MESSAGE_ROOM));
  const bool is_clean = std::all_of(octets + payload.size(), octets + IPC_MESSAGE_ROOM,
                                    [](char octet) { return octet == 0; });
  Agent::tell("handler: " + readable(payload) + (is_clean ? "" : " and more"));
  Agent::keep_busy(std::chrono::milliseconds(atoi(payload.c_str())));
  if (payload == "send") {
    const IpcAddress other = {{0xFE, 1}};
    const auto sent = [](const IpcAddress &to, uint32_t length_sent) {
      return std::to_string(ipc_send(ipc_response_queue, &to, 1409, "news", length_sent, 0, 0, 0));
    };
    Agent::tell("sent: " + sent(IPC_OWN_NOTIFICATIONS, 5) + " " + sent(other, 5) + " " +
                sent(IPC_OWN_NOTIFICATIONS, 1025));
  }
  *send = payload == "news" ? 1 : 0;
  const oid trap[] = {1, 3, 6, 1, 4, 1, 32473, 99};
  std::copy(std::begin(trap), std::end(trap), trap_oid);
  *length = std::size(trap);
  const int32_t value = -5;
  const oid name[] = {1, 3, 9};
  return agent_build_varbind(nullptr, &value, ASN_INTEGER, sizeof(value), name, std::size(name));
}

/** An SNMP notification on its way to the managers: its trap's OID, and its own bindings. */
int keep_trap(int /*major*/, int /*minor*/, void *pdu, void * /*client*/) {
  const netsnmp_variable_list *binding = static_cast<netsnmp_pdu *>(pdu)->variables;
  while (binding->type != ASN_OBJECT_ID) {
    binding = binding->next_variable;
  }
  const oid *trap = binding->val.objid;
  std::string text =
      "trap " + module_stand_in::text_of({trap, trap + binding->val_len / sizeof(oid)});
  while ((binding = binding->next_variable) != nullptr) {
    text += " " + std::to_string(*binding->val.integer);
  }
  Agent::tell(text);
  return SNMPERR_SUCCESS;
}

} // namespace

std::string module_stand_in::told(const std::string &what) {
  if (what == "user") {
    return std::string("user '") + agent_session_user(0) +
           (agent_session_id(0) == 0 ? "'" : "' in a session");
  }
  if (what == "overdue") {
    return agent_request_is_overdue() ? "overdue" : "in time";
  }
  if (what == "log") {
    agent_log_error(std::make_unique<SetErrorRecord>(SetErrorRecord{{}, 12, "no room"}).get());
    agent_log_set_error(0x40490010, 3);
    agent_log_role_error(1);
    return "has logged";
  }
  if (what == "number") {
    return "number " + std::to_string(agent_request_number());
  }
  return what == "processor" ? told_of_processor() : told_of_rows();
}

std::string module_stand_in::text_of(const Name &name) {
  std::string text;
  for (const oid id : name) {
    text += (text.empty() ? "" : ".") + std::to_string(id);
  }
  return text;
}

Name module_stand_in::name_of(const std::string &text) {
  Name name;
  std::istringstream ids(text);
  for (std::string id; std::getline(ids, id, '.');) {
    name.push_back(std::stoul(id));
  }
  return name;
}

void module_stand_in::take_variables() {
  static const oid root[] = {1, 3, 6, 1, 4, 1, 32473, 1, 1};
  auto variables = std::to_array(fcs_mib_variables);
  for (variable7 &variable : variables) {
    variable.findVar = read;
  }
  register_mib("fcs_mib", reinterpret_cast<variable *>(variables.data()), sizeof(variable7),
               variables.size(), root, std::size(root));
  intercept_requests([] {});
}

void module_stand_in::take_notifications(uint32_t opcode) {
  [[maybe_unused]] static const int kept = snmp_register_callback(
      SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_SEND_TRAP2, keep_trap, nullptr);
  agent_notif_register(opcode, handle);
}
