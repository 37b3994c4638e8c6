#include "recording_platform.h"

#include "registered_variables.h"

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "platform/errno_text.h"
#include "platform/role.h"
#include "platform/trace.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

RecordingPlatform platform;

namespace {

[[gnu::format(printf, 1, 2)]] void record(const char *format, ...) {
  char line[2048];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  platform.lines.emplace_back(line);
}

std::string text_of(const oid *name, size_t length) {
  std::string text;
  for (size_t i = 0; i < length; ++i) {
    text += "." + std::to_string(name[i]);
  }
  return text;
}

/** Turns a standard stream into lines of the record, as long as it lives. */
class RecordedStream {
public:
  RecordedStream(FILE *&stream, const char *label) : stream_(stream), original_(stream) {
    fflush(original_);
    const cookie_io_functions_t functions{nullptr, write, nullptr, nullptr};
    stream_ = fopencookie(const_cast<char *>(label), "w", functions);
    setvbuf(stream_, nullptr, _IONBF, 0);
  }
  ~RecordedStream() {
    fclose(stream_);
    stream_ = original_;
  }
  RecordedStream(const RecordedStream &) = delete;
  RecordedStream &operator=(const RecordedStream &) = delete;

private:
  static ssize_t write(void *label, const char *text, size_t length) {
    record("%s %.*s", static_cast<const char *>(label), static_cast<int>(length), text);
    return static_cast<ssize_t>(length);
  }

  FILE *&stream_;
  FILE *original_;
};

} // namespace

uint32_t Request::word(size_t offset) const {
  uint32_t word = 0;
  memcpy(&word, payload.data() + offset, sizeof(word));
  return word;
}

const variable &RecordingPlatform::registered_for(FcsObject object) const {
  for (const variable &entry : registered) {
    if (entry.magic == object) {
      return entry;
    }
  }
  throw std::logic_error("no object with magic " + std::to_string(object));
}

void start_module() {
  platform = RecordingPlatform();
  lines_of(init_fcs_mib);
  platform.lines.clear();
}

Lines lines_of(const std::function<void()> &action) {
  platform.lines.clear();
  const RecordedStream out(stdout, "stdout");
  const RecordedStream err(stderr, "stderr");
  action();
  return platform.lines;
}

int64_t Answer::word() const {
  int32_t word = 0;
  if (!value || value->size() != sizeof(word)) {
    throw std::logic_error("not a word");
  }
  memcpy(&word, value->data(), sizeof(word));
  return word;
}

Answer read_object(FcsObject object, const std::vector<oid> &index, bool exact) {
  variable entry = platform.registered_for(object);
  oid name[MAX_OID_LEN] = {};
  std::copy_n(entry.name, entry.namelen, name);
  std::copy(index.begin(), index.end(), name + entry.namelen);
  size_t length = entry.namelen + index.size();
  size_t value_length = 0;
  WriteMethod *write_method = nullptr;
  const u_char *value =
      entry.findVar(&entry, name, &length, exact ? 1 : 0, &value_length, &write_method);
  Answer answer{{}, {name + entry.namelen, name + length}, write_method};
  if (value != nullptr) {
    answer.value = Bytes(value, value + value_length);
  }
  return answer;
}

int write_object(FcsObject object, u_char type, const Bytes &value,
                 const std::vector<int> &phases) {
  WriteMethod *write = read_object(object, {0}, true).write_method;
  if (write == nullptr) {
    return SNMP_ERR_NOTWRITABLE;
  }
  const variable &entry = platform.registered_for(object);
  oid name[MAX_OID_LEN] = {};
  std::copy_n(entry.name, entry.namelen, name);
  // The agent's own buffer is larger than the value, and the same in each phase.
  static uint8_t buffer[1024];
  std::copy(value.begin(), value.end(), buffer);
  int status = SNMP_ERR_NOERROR;
  for (const int phase : phases) {
    status = write(phase, buffer, type, value.size(), nullptr, name, entry.namelen + 1U);
    if (status != SNMP_ERR_NOERROR) {
      break;
    }
  }
  return status;
}

namespace {

/** A binding of a SET as the agent goes through the phases with it. */
struct BindingInProgress {
  explicit BindingInProgress(const Binding &binding) : given(binding) {
    const variable &column = platform.registered_for(binding.object);
    variable entry = column;
    std::copy_n(column.name, column.namelen, name);
    std::copy(binding.index.begin(), binding.index.end(), name + column.namelen);
    name_length = column.namelen + binding.index.size();
    oid found[MAX_OID_LEN];
    std::copy_n(name, name_length, found);
    size_t found_length = name_length;
    size_t value_length = 0;
    const u_char *answer =
        entry.findVar(&entry, found, &found_length, 1, &value_length, &write_method);
    // Each has a buffer of its own: other reads of the SET answer through the same one.
    is_row = answer != nullptr;
    std::copy(binding.value.begin(), binding.value.end(), value);
  }

  int write(int phase) {
    return write_method == nullptr ? SNMP_ERR_NOTWRITABLE
                                   : write_method(phase, value, given.type, given.value.size(),
                                                  is_row ? current : nullptr, name, name_length);
  }

  const Binding &given;
  oid name[MAX_OID_LEN] = {};
  size_t name_length;
  WriteMethod *write_method = nullptr;
  bool is_row;
  u_char current[8] = {};
  uint8_t value[1024] = {};
};

} // namespace

int write_set(const std::vector<Binding> &bindings) {
  std::vector<BindingInProgress> set;
  set.reserve(bindings.size());
  for (const Binding &binding : bindings) {
    set.emplace_back(binding);
  }
  platform.lines.clear();
  int status = SNMP_ERR_NOERROR;
  const auto run = [&](int phase) {
    for (BindingInProgress &binding : set) {
      if (const int refusal = binding.write(phase); status == SNMP_ERR_NOERROR) {
        status = refusal;
      }
    }
  };
  for (const int phase : {kReserve1, kReserve2, kAction}) {
    run(phase);
    if (status != SNMP_ERR_NOERROR) {
      run(phase == kAction ? kUndo : kFree);
      return status;
    }
  }
  run(kCommit);
  return status;
}

IpcMessage::IpcMessage(const Bytes &octets) : payload{} {
  std::copy(octets.begin(), octets.end(), payload);
}

Raised notify(AgentNotifHandler *handler, const IpcMessage *message) {
  oid trap_oid[13] = {};
  size_t length = 0;
  int send = 42;
  netsnmp_variable_list *bindings = handler(message, trap_oid, &length, &send);
  Raised raised{send == 1, {trap_oid, trap_oid + length}, {}};
  for (const netsnmp_variable_list *b = bindings; b != nullptr; b = b->next_variable) {
    std::string line = text_of(b->name, b->name_length) + " " + std::to_string(b->type) + ":";
    if (b->type == ASN_INTEGER) {
      line += " " + std::to_string(*b->val.integer);
    } else {
      line += " " + std::string(b->val.string, b->val.string + b->val_len);
    }
    raised.bindings.push_back(line);
  }
  snmp_free_varbind(bindings);
  return raised;
}

// ---- Messaging

const uint32_t ipc_response_queue = 77;

int32_t ipc_req_resp(uint32_t opcode, uint32_t flag, const void *request, void **response,
                     uint32_t *length, const char *user, uint32_t session, uint32_t service,
                     uint32_t queue, uint32_t reserved) {
  const auto *octets = static_cast<const uint8_t *>(request);
  if (opcode != FCS_MSG_REQUEST) { // A message of its own.
    std::string words;
    for (uint32_t offset = 0; offset < *length; offset += 4) {
      uint32_t word = 0;
      memcpy(&word, octets + offset, sizeof(word));
      words += " " + std::to_string(word);
    }
    record("ipc %u/%u%s from %s/%u to %u/%u/%u%s", opcode, flag, words.c_str(), user, session,
           service, queue, reserved, response == nullptr ? "" : " with response");
    return platform.service(Request{flag, opcode, Bytes(octets, octets + *length)}).result;
  }
  Request asked{flag, 0, Bytes(octets + sizeof(uint32_t), octets + *length)};
  memcpy(&asked.record_id, octets, sizeof(asked.record_id));
  if (flag == FCS_OP_SET || flag == FCS_OP_DELETE) {
    platform.changes.push_back(asked);
  }
  record("ipc %u/%u record %u length %u from %s/%u to %u/%u/%u", opcode, flag, asked.record_id,
         *length, user, session, service, queue, reserved);
  const Reply reply = platform.service(asked);
  if (reply.response.empty() || response == nullptr) {
    return reply.result;
  }
  void *copy = malloc(reply.response.size());
  memcpy(copy, reply.response.data(), reply.response.size());
  *response = copy;
  *length = static_cast<uint32_t>(reply.response.size());
  return reply.result;
}

const void *ipc_payload_get(const IpcMessage *message) {
  return message->payload;
}

int32_t ipc_send(uint32_t queue, const IpcAddress *destination, uint32_t opcode,
                 const void *payload, uint32_t length, uint32_t a, uint32_t b, uint32_t c) {
  std::string address;
  for (const uint8_t octet : destination->octets) {
    address += (address.empty() ? "" : ".") + std::to_string(octet);
  }
  record("send %u to %s opcode %u length %u '%s' %u/%u/%u", queue, address.c_str(), opcode, length,
         static_cast<const char *>(payload), a, b, c);
  return -1; // The module does not look at it.
}

const char *errno_text(int32_t code) {
  return code == 77 ? "text of 77" : "?";
}

// ---- Agent host

const char *agent_session_user(int request) {
  return request == 0 ? "user" : "wrong request";
}

uint32_t agent_session_id(int request) {
  return request == 0 ? 7 : 0;
}

void agent_notif_register(uint32_t opcode, AgentNotifHandler *handler) {
  record("notif register %u%s", opcode, handler == nullptr ? " without handler" : "");
}

void agent_notif_unregister(uint32_t opcode) {
  record("notif unregister %u", opcode);
}

int32_t agent_notif_enable_get(uint32_t opcode) {
  record("notif enable get %u", opcode);
  return platform.notif_enabled;
}

int32_t agent_notif_enable_set(uint32_t opcode, int32_t enable) {
  record("notif enable set %u %d", opcode, enable);
  return platform.enable_result;
}

netsnmp_variable_list *agent_build_varbind(netsnmp_variable_list *list, const void *value,
                                           u_char type, size_t value_length, const oid *name,
                                           size_t name_length) {
  snmp_varlist_add_variable(&list, name, name_length, type, value, value_length);
  return list;
}

void agent_log_error(const SetErrorRecord *error) {
  const bool rest_is_zero = std::all_of(std::begin(error->reserved), std::end(error->reserved),
                                        [](uint8_t octet) { return octet == 0; });
  record("log error %d '%s'%s", error->code, error->text, rest_is_zero ? "" : " dirty");
}

void agent_log_role_error(uint32_t message) {
  record("log role error %x", message);
}

void agent_log_set_error(uint32_t message, uint32_t number) {
  record("log set error %x %u", message, number);
}

// ---- Roles

static void fill(VsanBitmap *bitmap, const std::set<uint32_t> &vsans) {
  bitmap_clear(bitmap);
  for (const uint32_t vsan : vsans) {
    bitmap_set_bit(bitmap, static_cast<int32_t>(vsan));
  }
}

int role_allowed_vsans(VsanBitmap *allowed, const oid *name, size_t name_length, int access) {
  record("role vsans %d %s bytes %u", access, text_of(name, name_length).c_str(),
         allowed->byte_count);
  if (platform.restricted) {
    fill(allowed, platform.readable);
  }
  return platform.restricted ? 1 : 0;
}

int role_allowed_vsans_from_list(const VsanBitmap *list, VsanBitmap *allowed, const oid *name,
                                 size_t name_length, int access) {
  std::string vsans;
  for (int32_t v = bitmap_first_bit(list); v >= 0; v = bitmap_next_bit(list, v)) {
    vsans += " " + std::to_string(v);
  }
  record("role list %d %s bytes %u:%s", access, text_of(name, name_length).c_str(),
         list->byte_count, vsans.c_str());
  if (platform.role_fails) {
    return -1;
  }
  VsanBitmap hidden = *list;
  VsanBitmap readable = *list;
  fill(&readable, platform.readable);
  bitmap_subtract(&hidden, &readable);
  bitmap_copy(allowed, list);
  if (platform.restricted) {
    bitmap_subtract(allowed, &hidden);
  }
  return 0;
}

int role_vsan_bitmap_allowed(const VsanBitmap *vsans, const oid *name, size_t name_length,
                             int access) {
  std::string list;
  for (int32_t v = bitmap_first_bit(vsans); v >= 0; v = bitmap_next_bit(vsans, v)) {
    list += " " + std::to_string(v);
  }
  record("role bitmap %d %s bytes %u:%s", access, text_of(name, name_length).c_str(),
         vsans->byte_count, list.c_str());
  return platform.role_refuses_writes ? 2 : 1; // Anything but 1 refuses.
}

int role_vsan_allowed(uint32_t vsan, VsanBitmap allowed) {
  record("role allowed %u", vsan);
  const auto bit = static_cast<int32_t>(vsan);
  return vsan < 4096 && bitmap_next_bit(&allowed, bit - 1) == bit ? 1 : 0;
}

int role_next_allowed_vsan(uint32_t *vsan, VsanBitmap allowed) {
  record("role next %u", *vsan);
  const int32_t next = *vsan < 4096 ? bitmap_next_bit(&allowed, static_cast<int32_t>(*vsan)) : -1;
  *vsan = next < 0 ? *vsan : static_cast<uint32_t>(next);
  return next < 0 ? 0 : 1;
}

// ---- Trace

const char *const trace_module_name = "recorded";

int trace_hist_filtered(uint32_t module, uint32_t /*level*/) {
  return platform.history_filtered || module != 0x730000 ? 1 : 0;
}

void trace_hist_event(uint32_t module, uint32_t length, const void *event) {
  uint32_t level = 0;
  memcpy(&level, event, sizeof(level));
  const char *text = static_cast<const char *>(event) + sizeof(level);
  // The common lines stand as "level text"; only a record whose length is not its text's is spelt
  // out.
  if (module == 0x730000 && length == strlen(text) + 5) {
    record("%u %s", level, text);
  } else {
    record("module %x length %u: %u %s", module, length, level, text);
  }
}

int trace_debug_on(uint32_t /*level*/, int unit, int instance, int console) {
  return platform.console && unit == 0 && instance == 0 && console == 1 ? 1 : 0;
}

void debug_printf(int console, const char *module, int instance, const char *format, ...) {
  char text[2048];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  record("console %d/%s/%d %s", console, module, instance, text);
}

// ---- Pending-row stores

struct RowIndex {
  int number = 0;
  RowIndexCompare *compare = nullptr;
  std::vector<void *> rows;     ///< In no order: what counts is what they are found by.
  std::vector<void *> not_kept; ///< What the store did not take and nobody releases.

  ~RowIndex() { release(); }
  void release() {
    std::for_each(rows.begin(), rows.end(), free);
    std::for_each(not_kept.begin(), not_kept.end(), free);
    rows.clear();
    not_kept.clear();
  }
};

static std::vector<void *>::iterator row_of(RowIndex *store, const void *key) {
  return std::find_if(store->rows.begin(), store->rows.end(),
                      [&](const void *row) { return store->compare(row, key) == 0; });
}

int row_index_create(RowIndex **store, int options, int unique, RowIndexCompare *compare,
                     int sorted) {
  const int number = ++platform.stores_created;
  record("store %d create %d %d %s %d", number, options, unique,
         compare == mgmt_addr_cmp  ? "mgmt_addr_cmp"
         : compare == platform_cmp ? "platform_cmp"
                                   : "?",
         sorted);
  *store = nullptr;
  if (platform.failing_stores.count(number) != 0) {
    return 0;
  }
  static RowIndex stores[3];
  stores[number].release();
  stores[number].number = number;
  stores[number].compare = compare;
  *store = &stores[number];
  return ROW_INDEX_CREATED;
}

void *row_index_find(RowIndex *store, const void *key, int /*options*/) {
  const auto row = row_of(store, key);
  return row == store->rows.end() ? nullptr : *row;
}

void *row_index_add(RowIndex *store, void *element, const void *key) {
  if (platform.failing_adds || element != key) {
    store->not_kept.push_back(element);
    return nullptr;
  }
  store->rows.push_back(element);
  return element;
}

void *row_index_remove(RowIndex *store, const void *key) {
  const auto row = row_of(store, key);
  if (row == store->rows.end()) {
    return nullptr;
  }
  void *element = *row;
  store->rows.erase(row);
  return element;
}

void row_index_destroy(RowIndex *store) {
  record("store %d destroy", store == nullptr ? 0 : store->number);
}

size_t pending_rows() {
  return temp_mgmt_addr_table->rows.size() + temp_platform_table->rows.size();
}

// ---- Net-SNMP's registration and debug output, in front of the library's own

extern "C" {

int register_mib(const char *module, const variable *variables, size_t size, size_t count,
                 const oid *root, size_t root_length) {
  record("register %s %zu x %zu at length %zu", module, count, size, root_length);
  platform.registered = registered_variables(variables, size, count, root, root_length);
  return platform.register_result;
}

int unregister_mib(oid * /*root*/, size_t root_length) {
  record("unregister at length %zu", root_length);
  return 0;
}

void snmp_set_detail(const char *detail) {
  record("detail '%s'", detail);
}

int snmp_get_do_debugging() {
  return platform.agent_debugging ? 1 : 0;
}

void debugmsgtoken(const char *token, const char * /*format*/, ...) {
  record("token %s", token);
}

void debugmsg(const char *token, const char *format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  record("debug %s: %s", token, text);
}
}
