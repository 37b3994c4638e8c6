#include "memory_platform.h"

#include "platform/errno_text.h"
#include "platform/role.h"
#include "platform/trace.h"
#include "tests/require.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string_view>

MemoryPlatform platform;

std::string shown(const std::string &form, const void *octets, size_t length) {
  std::string text = "<" + form + " ";
  for (size_t i = 0; platform.listening && i < length; ++i) {
    const uint8_t octet = static_cast<const uint8_t *>(octets)[i];
    text += {"0123456789abcdef"[octet >> 4], "0123456789abcdef"[octet & 15]};
  }
  return text + ">";
}

std::string shown(const oid *name, size_t length) {
  std::string text;
  for (size_t i = 0; platform.listening && i < length; ++i) {
    text += (i == 0 ? "" : ".") + std::to_string(name[i]);
  }
  return text;
}

std::string shown(const VsanBitmap &bitmap) {
  std::string text;
  for (int32_t bit = bitmap_first_bit(&bitmap); platform.listening && bit >= 0;
       bit = bitmap_next_bit(&bitmap, bit)) {
    text += (text.empty() ? "" : " ") + std::to_string(bit);
  }
  return text;
}

// ---- The FCS service

/** What compares as the key does with which a record, or a request for it, begins. */
static std::u32string key_of(uint32_t record_id, const Bytes &record) {
  const FcsKeyForm *form = fcs_key_form(record_id);
  if (form == nullptr || record.size() < form->length()) {
    return {};
  }
  std::u32string key(form->words, 0);
  memcpy(key.data(), record.data(), form->words * sizeof(uint32_t));
  const uint8_t *name = record.data() + form->words * sizeof(uint32_t);
  key.insert(key.end(), name, name + form->name_octets);
  return key;
}

void MemoryFabric::add(uint32_t record_id, const Bytes &record) {
  records_[record_id][key_of(record_id, record)] = record;
}

Reply MemoryFabric::answer(const Request &request) {
  if (request.opcode != FCS_MSG_REQUEST) {
    return {FCS_OK, {}};
  }
  auto &records = records_[request.record_id];
  const Key key = key_of(request.record_id, request.payload);
  switch (request.flag) {
  case FCS_OP_SET: add(request.record_id, request.payload); return {FCS_OK, {}};
  case FCS_OP_DELETE: records.erase(key); return {FCS_OK, {}};
  default: break;
  }
  const auto found = request.flag == FCS_OP_GET ? records.find(key) : records.upper_bound(key);
  return found == records.end() ? Reply{FCS_ERR_NO_SUCH_ROW, {}} : Reply{FCS_OK, found->second};
}

// ---- Messaging

const uint32_t ipc_response_queue = 77;

struct IpcMessage {
  uint8_t payload[IPC_MESSAGE_ROOM];
};

/** "get 90 7", "send 1405/0 1 0": of a read the key alone. */
static std::string shown(const Request &asked) {
  constexpr const char *kOperations[] = {"?", "get", "next", "set", "delete"};
  const bool reads = asked.flag == FCS_OP_GET || asked.flag == FCS_OP_GETNEXT;
  const bool record = asked.opcode == FCS_MSG_REQUEST;
  const std::string id = std::to_string(record ? asked.record_id : asked.opcode);
  return (record ? std::string(kOperations[asked.flag % std::size(kOperations)]) + " " + id
                 : "send " + id + "/" + std::to_string(asked.flag)) +
         " " +
         shown((record && reads ? "key" : "") + id, asked.payload.data(), asked.payload.size());
}

/** The result unless it is 0, and what the module prints of a response: length and first word. */
static std::string shown(const Reply &reply) {
  const Bytes response = reply.response.value_or(Bytes());
  int32_t word = 0;
  std::copy_n(response.data(), std::min(response.size(), sizeof(word)),
              reinterpret_cast<uint8_t *>(&word));
  return (reply.result == 0 ? "" : " -> " + std::to_string(reply.result)) +
         " | len = " + std::to_string(response.size()) + " val = " + std::to_string(word);
}

int32_t ipc_req_resp(uint32_t opcode, uint32_t flag, const void *request, void **response,
                     uint32_t *length, const char *user, uint32_t session, uint32_t service,
                     uint32_t queue, uint32_t reserved) {
  require(*length <= IPC_MESSAGE_ROOM, "a request has room in a message");
  const auto *octets = static_cast<const uint8_t *>(request);
  Request asked{opcode, flag, 0, Bytes(octets, octets + *length)};
  if (opcode == FCS_MSG_REQUEST) {
    memcpy(&asked.record_id, octets, sizeof(asked.record_id));
    asked.payload.erase(asked.payload.begin(), asked.payload.begin() + sizeof(asked.record_id));
  }
  const bool usual = std::string_view(user) == "user" && session == 7 &&
                     service == FCS_SERVICE_ID && queue == ipc_response_queue && reserved == 0;
  require(usual, "a request goes to the FCS service, in its user's name");
  tell(shown(asked));
  const Reply reply = platform.service ? platform.service(asked) : platform.fabric.answer(asked);
  if (platform.listening) {
    platform.lines.back() += shown(reply);
  }
  if (reply.response && response != nullptr) {
    *response = malloc(std::max<size_t>(reply.response->size(), 1));
    std::copy(reply.response->begin(), reply.response->end(), static_cast<uint8_t *>(*response));
    *length = static_cast<uint32_t>(reply.response->size());
  }
  return reply.result;
}

const void *ipc_payload_get(const IpcMessage *message) {
  return message->payload;
}

int32_t ipc_send(uint32_t queue, const IpcAddress *destination, uint32_t opcode,
                 const void *payload, uint32_t length, uint32_t a, uint32_t b, uint32_t c) {
  const auto *octets = static_cast<const uint8_t *>(payload);
  platform.sent.push_back({opcode, Bytes(octets, octets + length)});
  tell("message", opcode, shown("octets", payload, length), "to", queue,
       shown("octets", destination->octets, sizeof(destination->octets)), a, b, c);
  return -1; // The module does not look at it.
}

const char *errno_text(int32_t code) {
  static const std::string long_text(600, 'a');
  return code == 77 ? "text of 77" : code == 78 ? long_text.c_str() : "?";
}

// ---- Agent host

const char *agent_session_user(int request) {
  return request == 0 ? "user" : "";
}

uint32_t agent_session_id(int request) {
  return request == 0 ? 7 : 0;
}

void agent_notif_register(uint32_t opcode, AgentNotifHandler *handler) {
  tell("notif register", opcode);
  platform.handlers[opcode] = handler;
}

void agent_notif_unregister(uint32_t opcode) {
  tell("notif unregister", opcode);
  platform.handlers.erase(opcode);
}

int32_t agent_notif_enable_get(uint32_t opcode) {
  tell("notif enable get", opcode);
  return platform.notif_enabled;
}

int32_t agent_notif_enable_set(uint32_t opcode, int32_t enable) {
  tell("notif enable set", opcode, enable);
  return platform.enable_result;
}

netsnmp_variable_list *agent_build_varbind(netsnmp_variable_list *list, const void *value,
                                           u_char type, size_t value_length, const oid *name,
                                           size_t name_length) {
  snmp_varlist_add_variable(&list, name, name_length, type, value, value_length);
  return list;
}

netsnmp_variable_list *deliver(uint32_t opcode, const std::optional<Bytes> &payload) {
  IpcMessage message{};
  if (payload) {
    std::copy(payload->begin(), payload->end(), message.payload);
  }
  oid trap[AGENT_TRAP_OID_ROOM] = {};
  size_t length = 0;
  int send = 42;
  netsnmp_variable_list *bindings =
      platform.handlers.at(opcode)(payload ? &message : nullptr, trap, &length, &send);
  require(send == 1 ? length == std::size(trap) : send == 0 && bindings == nullptr,
          "a notification has an OID, and bindings come with one only");
  if (send == 0) {
    return nullptr;
  }
  constexpr oid kTrapOid[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
  netsnmp_variable_list *whole = nullptr;
  snmp_varlist_add_variable(&whole, kTrapOid, std::size(kTrapOid), ASN_OBJECT_ID, trap,
                            sizeof(trap));
  whole->next_variable = bindings;
  return whole;
}

void agent_log_error(const SetErrorRecord *error) {
  require(memchr(error->text, '\0', sizeof(error->text)) != nullptr &&
              std::ranges::all_of(error->reserved, [](uint8_t octet) { return octet == 0; }),
          "an error's text ends, and the rest is zero");
  tell("log error", error->code, error->text);
}

static std::string hexadecimal(uint32_t message) {
  std::ostringstream text;
  text << std::hex << message;
  return text.str();
}

void agent_log_role_error(uint32_t message) {
  tell("log role error", hexadecimal(message));
}

void agent_log_set_error(uint32_t message, uint32_t number) {
  tell("log set error", hexadecimal(message), number);
}

// ---- Roles

int role_allowed_vsans(VsanBitmap *allowed, const oid *name, size_t name_length, int access) {
  require(allowed->byte_count == VSAN_WHOLE_BYTES, "a role's VSANs are those of both halves");
  tell("role vsans", access, shown(name, name_length));
  if (platform.restricted != 0) {
    *allowed = platform.readable;
  }
  return platform.restricted;
}

int role_allowed_vsans_from_list(const VsanBitmap *list, VsanBitmap *allowed, const oid *name,
                                 size_t name_length, int access) {
  require(list->byte_count == VSAN_WHOLE_BYTES, "a list is one of both halves");
  tell("role list", access, shown(name, name_length), "(" + shown(*list) + ")");
  if (platform.role_fails != 0) {
    return -1;
  }
  *allowed = *list;
  if (platform.restricted != 0) {
    VsanBitmap hidden = *list;
    bitmap_subtract(&hidden, &platform.readable);
    bitmap_subtract(allowed, &hidden);
  }
  return 0;
}

int role_vsan_bitmap_allowed(const VsanBitmap *vsans, const oid *name, size_t name_length,
                             int access) {
  require(vsans->byte_count == VSAN_WHOLE_BYTES, "a list is one of both halves");
  tell("role bitmap", access, shown(name, name_length), "(" + shown(*vsans) + ")");
  return platform.role_refuses_writes != 0 ? 2 : 1; // Anything but 1 refuses.
}

int role_vsan_allowed(uint32_t vsan, VsanBitmap allowed) {
  tell("role allowed", vsan);
  const auto bit = static_cast<int32_t>(std::min(vsan, FCS_MAX_VSAN));
  return bitmap_next_bit(&allowed, bit - 1) == bit ? 1 : 0;
}

int role_next_allowed_vsan(uint32_t *vsan, VsanBitmap allowed) {
  tell("role next", *vsan);
  const int32_t next =
      bitmap_next_bit(&allowed, static_cast<int32_t>(std::min(*vsan, FCS_MAX_VSAN)));
  *vsan = next < 0 ? *vsan : static_cast<uint32_t>(next);
  return next < 0 ? 0 : 1;
}

// ---- Trace

const char *const trace_module_name = "memory";

int trace_hist_filtered(uint32_t module, uint32_t /*level*/) {
  return platform.history_filtered != 0 || module != 0x730000 ? 1 : 0;
}

void trace_hist_event(uint32_t module, uint32_t length, const void *event) {
  uint32_t level = 0;
  memcpy(&level, event, sizeof(level));
  const char *text = static_cast<const char *>(event) + sizeof(level);
  require(module == 0x730000 && length <= TRACE_RECORD_ROOM && length == strlen(text) + 5,
          "an event is a text of at most 511 octets");
  tell(level, text);
}

/** Level of the line that the console is asked about. */
static uint32_t console_level;

int trace_debug_on(uint32_t level, int unit, int instance, int console) {
  console_level = level;
  return unit == 0 && instance == 0 && console == 1 ? 1 : 0;
}

void debug_printf(int console, const char *module, int instance, const char *format, ...) {
  const std::string_view own = format;
  require(console_level != 101 ||
              (own.starts_with("%s") && own.find("%s", 2) == std::string_view::npos),
          "the only text that a detail's format takes is the name of its function");
  char line[2048];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  if (platform.console != 0) {
    tell("console", console, module, instance, "'" + std::string(own) + "'", line);
  }
}
