#include "fuzz_platform.h"

#include "platform/role.h"
#include "platform/trace.h"
#include "tests/module/registered_variables.h"

#include <cerrno>
#include <deque>
#include <map>

namespace {

struct FuzzPlatform {
  FuzzInput *input;
  std::vector<variable> objects;
  std::map<uint32_t, AgentNotifHandler *> handlers;
  std::deque<IpcMessage> looped_back;
  VsanBitmap allowed; ///< By the user's role.
  bool restricted;
  bool role_fails;
  bool refuses_writes;
  bool traced;
} platform;

/** Runs of VSANs; a run is its first position and how many more. */
void take_vsans(FuzzInput &input, VsanBitmap &vsans) {
  for (int runs = input.octet() % 8; runs > 0; --runs) {
    auto bit = static_cast<int32_t>(input.up_to(4096));
    for (const int32_t last = bit + input.octet(); bit <= last; ++bit) {
      bitmap_set_bit(&vsans, bit);
    }
  }
}

void take_module_state(FuzzInput &input) {
  for (VsanBitmap *vsans :
       {&fcs_vsan_2k, &fcs_vsan_4k, &fcs_vsan_total_2k, &fcs_vsan_total_4k, &fcs_notif_2k,
        &fcs_notif_4k, &fcs_invalidate_cache_2k, &fcs_invalidate_cache_4k}) {
    take_vsans(input, *vsans);
  }
}

void check_answer(const variable &object, const Name &name, const u_char *value, size_t length) {
  constexpr size_t kLongestValue = 257; // The image of a VSAN list.
  require(length <= kLongestValue, "a value has its object's length");
  require(object.type == ASN_OCTET_STR || length == sizeof(uint32_t), "a number is one word");
  require(name.length > object.namelen && name.length <= MAX_OID_LEN &&
              snmp_oid_compare(name.room.data(), object.namelen, object.name, object.namelen) == 0,
          "an answer is an instance of its object");
  const std::vector<u_char> readable(value, value + length);
  require(readable.size() == length, "every octet of a value can be read");
}

} // namespace

void start_module(FuzzInput &input) {
  platform.input = &input;
  platform.looped_back.clear();
  row_index_destroy(temp_mgmt_addr_table);
  row_index_destroy(temp_platform_table);
  memset(fcs_discovery_name, 0, sizeof(fcs_discovery_name));
  fcs_spin_lock = 0;
  fcs_discovery_timeout = 900;
  init_fcs_mib();

  const uint8_t flags = input.octet();
  platform.restricted = (flags & 1) != 0;
  platform.role_fails = (flags & 2) != 0;
  platform.refuses_writes = (flags & 4) != 0;
  platform.traced = (flags & 8) != 0;
  platform.allowed = {512, {}};
  if (platform.restricted) {
    take_vsans(input, platform.allowed);
  }
  if ((flags & 16) != 0) {
    take_module_state(input);
  }
}

const variable &take_object(FuzzInput &input) {
  return platform.objects[input.octet() % platform.objects.size()];
}

Name take_name(FuzzInput &input, const variable &object, size_t least) {
  constexpr uint8_t kWordFollows = 255;
  Name name;
  name.length = std::clamp<size_t>(input.octet(), least, object.namelen);
  std::copy_n(object.name, name.length, name.room.begin());
  const size_t index_length = input.octet() % (MAX_OID_LEN - object.namelen + 1U);
  for (const size_t end = name.length + index_length; name.length < end; ++name.length) {
    const uint8_t octet = input.octet();
    name.room[name.length] = octet == kWordFollows ? input.take<uint32_t>() : octet;
  }
  return name;
}

Reading read_object(const variable &object, Name &name, bool exact) {
  variable entry = object; // The handlers' parameter is not const.
  size_t length = 0;
  Reading reading{};
  reading.value = entry.findVar(&entry, name.room.data(), &name.length, exact ? 1 : 0, &length,
                                &reading.write_method);
  if (reading.value != nullptr) {
    check_answer(object, name, reading.value, length);
  }
  return reading;
}

void notify(uint32_t opcode, const IpcMessage *message) {
  oid trap_oid[13] = {};
  size_t trap_oid_length = 0;
  int send = -1;
  netsnmp_variable_list *bindings =
      platform.handlers.at(opcode)(message, trap_oid, &trap_oid_length, &send);
  require(send == 0 || (send == 1 && trap_oid_length == std::size(trap_oid)),
          "a notification that is to be sent has an OID");
  require(send == 1 || bindings == nullptr, "bindings come with a notification");
  snmp_free_varbind(bindings);
}

bool take_looped_back(IpcMessage &message) {
  if (platform.looped_back.empty()) {
    return false;
  }
  message = std::move(platform.looped_back.front());
  platform.looped_back.pop_front();
  return true;
}

// ---- Messaging

const uint32_t ipc_response_queue = 1;

/** What the service answers next, of any length up to the room; what the input lacks of it is 0. */
int32_t ipc_req_resp(uint32_t /*opcode*/, uint32_t /*flag*/, const void *request, void **response,
                     uint32_t *length, const char * /*user*/, uint32_t /*session*/,
                     uint32_t /*service*/, uint32_t /*queue*/, uint32_t /*reserved*/) {
  require(*length <= IPC_MESSAGE_ROOM, "a request has room in a message");
  const auto *octets = static_cast<const uint8_t *>(request);
  const std::vector<uint8_t> readable(octets, octets + *length);
  require(readable.size() == *length, "every octet of a request can be read");
  FuzzInput &input = *platform.input;
  if (input.empty()) {
    return FCS_ERR_NO_SUCH_ROW;
  }
  if (input.octet() % 4 == 0) {
    errno = ETIMEDOUT;
    return input.take<int32_t>(); // Also 0 and multiples of 256, which bring no response.
  }
  *length = static_cast<uint32_t>(input.up_to(IPC_MESSAGE_ROOM));
  if (response != nullptr) {
    const std::vector<uint8_t> answer = input.octets(*length);
    *response = malloc(std::max<size_t>(answer.size(), 1));
    std::copy(answer.begin(), answer.end(), static_cast<uint8_t *>(*response));
  }
  return FCS_OK;
}

const void *ipc_payload_get(const IpcMessage *message) {
  return message->payload.data();
}

int32_t ipc_send(uint32_t /*queue*/, const IpcAddress * /*destination*/, uint32_t opcode,
                 const void *payload, uint32_t length, uint32_t /*a*/, uint32_t /*b*/,
                 uint32_t /*c*/) {
  const auto *octets = static_cast<const uint8_t *>(payload);
  IpcMessage message{opcode, {octets, octets + length}};
  message.payload.resize(IPC_MESSAGE_ROOM);
  platform.looped_back.push_back(message);
  return 0;
}

// ---- Agent host

const char *agent_session_user(int /*request*/) {
  return "user";
}

uint32_t agent_session_id(int /*request*/) {
  return 1;
}

void agent_notif_register(uint32_t opcode, AgentNotifHandler *handler) {
  platform.handlers[opcode] = handler;
}

void agent_notif_unregister(uint32_t /*opcode*/) {}

int32_t agent_notif_enable_get(uint32_t /*opcode*/) {
  return platform.input->octet();
}

int32_t agent_notif_enable_set(uint32_t /*opcode*/, int32_t /*enable*/) {
  return platform.input->octet();
}

netsnmp_variable_list *agent_build_varbind(netsnmp_variable_list *list, const void *value,
                                           u_char type, size_t value_length, const oid *name,
                                           size_t name_length) {
  snmp_varlist_add_variable(&list, name, name_length, type, value, value_length);
  return list;
}

void agent_log_error(const SetErrorRecord *record) {
  require(memchr(record->text, '\0', sizeof(record->text)) != nullptr, "an error's text ends");
}

void agent_log_role_error(uint32_t /*message*/) {}

void agent_log_set_error(uint32_t /*message*/, uint32_t /*number*/) {}

// ---- Roles

int role_allowed_vsans(VsanBitmap *allowed, const oid * /*name*/, size_t /*name_length*/,
                       int /*access*/) {
  if (platform.restricted) {
    bitmap_copy(allowed, &platform.allowed);
  }
  return platform.restricted ? 1 : 0;
}

int role_allowed_vsans_from_list(const VsanBitmap *list, VsanBitmap *allowed, const oid * /*name*/,
                                 size_t /*name_length*/, int /*access*/) {
  if (platform.role_fails) {
    return -1;
  }
  bitmap_copy(allowed, list);
  if (platform.restricted) {
    VsanBitmap hidden = *list;
    bitmap_subtract(&hidden, &platform.allowed);
    bitmap_subtract(allowed, &hidden);
  }
  return 0;
}

int role_vsan_bitmap_allowed(const VsanBitmap * /*vsans*/, const oid * /*name*/,
                             size_t /*name_length*/, int /*access*/) {
  return platform.refuses_writes ? 0 : 1;
}

int role_vsan_allowed(uint32_t vsan, VsanBitmap allowed) {
  const auto bit = static_cast<int32_t>(vsan);
  return vsan < 4096 && bitmap_next_bit(&allowed, bit - 1) == bit ? 1 : 0;
}

int role_next_allowed_vsan(uint32_t *vsan, VsanBitmap allowed) {
  const int32_t next = *vsan < 4096 ? bitmap_next_bit(&allowed, static_cast<int32_t>(*vsan)) : -1;
  *vsan = next < 0 ? *vsan : static_cast<uint32_t>(next);
  return next < 0 ? 0 : 1;
}

// ---- Trace

const char *const trace_module_name = "fuzzed";

int trace_hist_filtered(uint32_t /*module*/, uint32_t /*level*/) {
  return platform.traced ? 0 : 1;
}

void trace_hist_event(uint32_t /*module*/, uint32_t length, const void *event) {
  constexpr uint32_t kLongest = 516;
  require(length <= kLongest && static_cast<const char *>(event)[length - 1] == '\0',
          "an event is a text of at most 511 octets");
}

int trace_debug_on(uint32_t /*level*/, int /*unit*/, int /*instance*/, int /*console*/) {
  return 0;
}

void debug_printf(int /*console*/, const char * /*module*/, int /*instance*/,
                  const char * /*format*/, ...) {}

// ---- Net-SNMP's registration, in front of the library's own

extern "C" {

int register_mib(const char * /*module*/, const variable *variables, size_t size, size_t count,
                 const oid *root, size_t root_length) {
  if (platform.objects.empty()) {
    platform.objects = registered_variables(variables, size, count, root, root_length);
  }
  return MIB_REGISTERED_OK;
}

int unregister_mib(oid * /*root*/, size_t /*root_length*/) {
  return 0;
}
}
