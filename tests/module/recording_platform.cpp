#include "recording_platform.h"

#include "platform/errno_text.h"
#include "platform/role.h"
#include "platform/trace.h"
#include "tests/require.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string_view>

RecordingPlatform platform;

namespace {

[[gnu::format(printf, 2, 0)]] void record_arguments(const std::string &label, const char *format,
                                                    va_list arguments) {
  if (platform.recording) {
    char line[2048];
    vsnprintf(line, sizeof(line), format, arguments);
    platform.lines.push_back(label + line);
  }
}

[[gnu::format(printf, 1, 2)]] void record(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  record_arguments("", format, arguments);
  va_end(arguments);
}

/** Numbers in a line, each behind a separator. */
template <typename Number>
std::string text_of(const Number *numbers, size_t count, const char *separator) {
  std::string text;
  for (size_t i = 0; platform.recording && i < count; ++i) {
    text += separator + std::to_string(numbers[i]);
  }
  return text;
}

/** The beginning of each line on a question to the role service. */
std::string question(int access, const oid *name, size_t name_length, const VsanBitmap &vsans) {
  if (!platform.recording) {
    return {};
  }
  return std::to_string(access) + " " + text_of(name, name_length, ".") + " bytes " +
         std::to_string(vsans.byte_count);
}

std::string text_of(const VsanBitmap &vsans) {
  const auto bits = platform.recording ? bits_of(vsans) : std::vector<int32_t>();
  return ":" + text_of(bits.data(), bits.size(), " ");
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

/** What is asked: a record, or with a message of its own, of words alone. */
std::string text_of(const Request &request, uint32_t opcode, bool wants_response) {
  if (!platform.recording) {
    return {};
  }
  if (opcode == FCS_MSG_REQUEST) {
    return " record " + std::to_string(request.record_id) + " length " +
           std::to_string(sizeof(request.record_id) + request.payload.size());
  }
  std::string words;
  for (size_t offset = 0; offset < request.payload.size(); offset += sizeof(uint32_t)) {
    words += " " + std::to_string(request.word(offset));
  }
  return words + (wants_response ? " with response" : "");
}

} // namespace

uint32_t Request::word(size_t offset) const {
  uint32_t word = 0;
  memcpy(&word, payload.data() + offset, sizeof(word));
  return word;
}

Vsans::Vsans(std::initializer_list<uint32_t> vsans) : VsanBitmap{sizeof(bytes), {}} {
  for (const uint32_t vsan : vsans) {
    bitmap_set_bit(this, static_cast<int32_t>(vsan));
  }
}

const variable &RecordingPlatform::registered_for(FcsObject object) const {
  for (const variable &entry : registered) {
    if (entry.magic == object) {
      return entry;
    }
  }
  throw std::logic_error("no object with magic " + std::to_string(object));
}

void reset_platform() {
  RecordingPlatform last = std::move(platform);
  platform = RecordingPlatform();
  platform.registered = std::move(last.registered);
  platform.handlers = std::move(last.handlers);
}

void start_module() {
  reset_platform();
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

Lines traces_of(const std::function<void()> &action) {
  Lines traces = lines_of(action);
  std::erase_if(traces, [](const std::string &line) {
    return !line.starts_with("10") || line.find("fcs_get_data") != std::string::npos;
  });
  return traces;
}

IpcMessage::IpcMessage(const Bytes &octets) : payload{} {
  std::copy(octets.begin(), octets.end(), payload);
}

std::vector<int32_t> bits_of(const VsanBitmap &bitmap) {
  std::vector<int32_t> bits;
  for (int32_t bit = bitmap_first_bit(&bitmap); bit >= 0; bit = bitmap_next_bit(&bitmap, bit)) {
    bits.push_back(bit);
  }
  return bits;
}

// ---- Messaging

const uint32_t ipc_response_queue = 77;

int32_t ipc_req_resp(uint32_t opcode, uint32_t flag, const void *request, void **response,
                     uint32_t *length, const char *user, uint32_t session, uint32_t service,
                     uint32_t queue, uint32_t reserved) {
  require(*length <= IPC_MESSAGE_ROOM, "a request has room in a message");
  const auto *octets = static_cast<const uint8_t *>(request);
  Request asked{flag, opcode, Bytes(octets, octets + *length)};
  if (opcode == FCS_MSG_REQUEST) {
    asked.record_id = asked.word(0);
    asked.payload.erase(asked.payload.begin(), asked.payload.begin() + sizeof(asked.record_id));
  }
  record("ipc %u/%u%s from %s/%u to %u/%u/%u", opcode, flag,
         text_of(asked, opcode, response != nullptr).c_str(), user, session, service, queue,
         reserved);
  const Reply reply = platform.service(asked);
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
  record("send %u to %s opcode %u length %u '%s' %u/%u/%u", queue,
         text_of(destination->octets, std::size(destination->octets), ".").c_str(), opcode, length,
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
  platform.handlers[opcode] = handler;
}

void agent_notif_unregister(uint32_t opcode) {
  record("notif unregister %u", opcode);
}

int32_t agent_notif_enable_get(uint32_t opcode) {
  record("notif enable get %u", opcode);
  return platform.notif_enabled();
}

int32_t agent_notif_enable_set(uint32_t opcode, int32_t enable) {
  record("notif enable set %u %d", opcode, enable);
  return platform.enable_result();
}

netsnmp_variable_list *agent_build_varbind(netsnmp_variable_list *list, const void *value,
                                           u_char type, size_t value_length, const oid *name,
                                           size_t name_length) {
  snmp_varlist_add_variable(&list, name, name_length, type, value, value_length);
  return list;
}

void agent_log_error(const SetErrorRecord *error) {
  require(memchr(error->text, '\0', sizeof(error->text)) != nullptr, "an error's text ends");
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

int role_allowed_vsans(VsanBitmap *allowed, const oid *name, size_t name_length, int access) {
  record("role vsans %s", question(access, name, name_length, *allowed).c_str());
  if (platform.restricted) {
    bitmap_copy(allowed, &platform.readable);
  }
  return platform.restricted ? 1 : 0;
}

int role_allowed_vsans_from_list(const VsanBitmap *list, VsanBitmap *allowed, const oid *name,
                                 size_t name_length, int access) {
  record("role list %s%s", question(access, name, name_length, *list).c_str(),
         text_of(*list).c_str());
  if (platform.role_fails) {
    return -1;
  }
  bitmap_copy(allowed, list);
  if (platform.restricted) {
    VsanBitmap hidden = *list;
    bitmap_subtract(&hidden, &platform.readable);
    bitmap_subtract(allowed, &hidden);
  }
  return 0;
}

int role_vsan_bitmap_allowed(const VsanBitmap *vsans, const oid *name, size_t name_length,
                             int access) {
  record("role bitmap %s%s", question(access, name, name_length, *vsans).c_str(),
         text_of(*vsans).c_str());
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
  require(length <= TRACE_RECORD_ROOM && static_cast<const char *>(event)[length - 1] == '\0',
          "an event is a text of at most 511 octets");
  uint32_t level = 0;
  memcpy(&level, event, sizeof(level));
  const char *text = static_cast<const char *>(event) + sizeof(level);
  // Common lines stand as "level text"; a record whose length is not its text's is spelt out.
  if (module == 0x730000 && length == strlen(text) + 5) {
    record("%u %s", level, text);
  } else {
    record("module %x length %u: %u %s", module, length, level, text);
  }
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
  va_list arguments;
  va_start(arguments, format);
  if (platform.console) {
    record_arguments("console " + std::to_string(console) + "/" + module + "/" +
                         std::to_string(instance) + " '" + format + "' ",
                     format, arguments);
  }
  va_end(arguments);
}

// ---- Pending-row stores

struct RowIndex {
  using Row = std::unique_ptr<void, decltype(&free)>;
  int number = 0;
  RowIndexCompare *compare = nullptr;
  std::vector<Row> rows;     ///< In no order: what counts is what they are found by.
  std::vector<Row> not_kept; ///< What the store did not take and nobody releases.

  auto find(const void *key) {
    return std::find_if(rows.begin(), rows.end(),
                        [&](const Row &row) { return compare(row.get(), key) == 0; });
  }
};

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
  stores[number] = {number, compare, {}, {}};
  *store = &stores[number];
  return ROW_INDEX_CREATED;
}

void *row_index_find(RowIndex *store, const void *key, int /*options*/) {
  const auto row = store->find(key);
  return row == store->rows.end() ? nullptr : row->get();
}

void *row_index_add(RowIndex *store, void *element, const void *key) {
  const bool taken = !platform.failing_adds && element == key;
  (taken ? store->rows : store->not_kept).emplace_back(element, free);
  return taken ? element : nullptr;
}

void *row_index_remove(RowIndex *store, const void *key) {
  const auto row = store->find(key);
  if (row == store->rows.end()) {
    return nullptr;
  }
  void *element = row->release();
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
  const auto *entries = reinterpret_cast<const uint8_t *>(variables);
  while (platform.registered.size() < count) {
    const auto &entry =
        *reinterpret_cast<const variable7 *>(entries + platform.registered.size() * size);
    variable &whole = platform.registered.emplace_back();
    whole.magic = entry.magic;
    whole.type = static_cast<char>(entry.type);
    whole.acl = entry.acl;
    whole.findVar = entry.findVar;
    whole.namelen = static_cast<u_char>(root_length + entry.namelen);
    std::copy_n(entry.name, entry.namelen, std::copy_n(root, root_length, whole.name));
  }
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
  va_list arguments;
  va_start(arguments, format);
  record_arguments(std::string("debug ") + token + ": ", format, arguments);
  va_end(arguments);
}
}
