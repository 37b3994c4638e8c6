#include "recording_platform.h"

#include "platform/errno_text.h"
#include "platform/role.h"
#include "platform/trace.h"
#include "tests/require.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <sstream>
#include <string_view>
#include <utility>

RecordingPlatform platform;

namespace {

template <typename... Parts> void record_parts(const Parts &...parts) {
  if (platform.recording) {
    std::ostringstream line;
    (line << ... << parts);
    platform.lines.push_back(line.str());
  }
}

[[gnu::format(printf, 1, 0)]] std::string formatted(const char *format, va_list arguments) {
  char line[2048];
  vsnprintf(line, sizeof(line), format, arguments);
  return line;
}

/** A stream whose every print becomes a line behind the label. */
FILE *recorded_stream(const char *label) {
  const auto write = [](void *name, const char *text, size_t length) {
    record_parts(static_cast<const char *>(name), std::string_view(text, length));
    return static_cast<ssize_t>(length);
  };
  FILE *stream = fopencookie(const_cast<char *>(label), "w", {nullptr, write, nullptr, nullptr});
  setvbuf(stream, nullptr, _IONBF, 0);
  return stream;
}

/** What a question to the role service says beyond the usual. */
std::string question(int access, const oid *name, size_t length, const VsanBitmap &vsans) {
  return std::to_string(access) + " " + text_of(name, length) +
         (vsans.byte_count == sizeof(vsans.bytes) ? ""
                                                  : " bytes " + std::to_string(vsans.byte_count));
}

/** The lines that go with an exchange by fcs_get_data or fcs_set_data. */
Exchange exchange_of(const Request &request, const Reply &reply) {
  const bool reads = request.flag == FCS_OP_GET || request.flag == FCS_OP_GETNEXT;
  Exchange exchange{platform.lines.size() - 1, {}, {}};
  if (request.opcode == FCS_MSG_REQUEST) {
    exchange.before = {reads ? "101 fcs_get_data:before sending cmi\n"
                             : "101 fcs_set_data:before cmi set\n",
                       "2>Before CMI\n"};
  }
  if (request.opcode == FCS_MSG_REQUEST && reads) {
    const int status = reply.result & 255;
    exchange.after = {"101 fcs_get_data:err " + std::to_string(status) + "\n"};
    if (status == 0) {
      const Bytes response = reply.response.value_or(Bytes());
      int32_t word = 0;
      std::copy_n(response.data(), std::min(response.size(), sizeof(word)),
                  reinterpret_cast<uint8_t *>(&word));
      const std::string length = "len = " + std::to_string(response.size());
      const std::string value = " val = " + std::to_string(word);
      exchange.after.push_back("101 fcs_get_data:" + length + value + " \n");
      exchange.after.push_back("1>" + length + value + "\n");
    }
  }
  return exchange;
}

/** Gives the module the state that it was loaded with. */
void reset_module() {
  int32_t *const numbers[] = {
      &fcs_spin_lock,       &fcs_discovery_timeout,    &fcs_start_discovery,
      &fcs_rej_reason_code, &fcs_rej_reason_code_expl, &fcs_return_value.record};
  static const std::vector<int32_t> loaded = [&] {
    std::vector<int32_t> values;
    std::ranges::transform(numbers, std::back_inserter(values),
                           [](const int32_t *n) { return *n; });
    return values;
  }();
  for (size_t i = 0; i < loaded.size(); ++i) {
    *numbers[i] = loaded[i];
  }
  memset(fcs_discovery_name, 0, sizeof(fcs_discovery_name));
  // Ends a SET that a test has left open: what it has pending is released with the test.
  write_fcsStartDiscovery(UNDO, nullptr, 0, 0, nullptr, nullptr, 0);
  write_fcsVsanDiscoveryTimeOut(UNDO, nullptr, 0, 0, nullptr, nullptr, 0);
}

} // namespace

std::string text_of(const oid *name, size_t length) {
  constexpr size_t kRootLength = 9;
  const oid *root = platform.registered.front().name;
  const bool ours = length > kRootLength && std::equal(root, root + kRootLength, name);
  std::string text;
  for (size_t i = ours ? kRootLength : 0; platform.recording && i < length; ++i) {
    text += (text.empty() ? "" : ".") + std::to_string(name[i]);
  }
  return text;
}

std::string text_of(const VsanBitmap &bitmap) {
  std::string text;
  for (int32_t bit = bitmap_first_bit(&bitmap); platform.recording && bit >= 0;
       bit = bitmap_next_bit(&bitmap, bit)) {
    text += (text.empty() ? "" : " ") + std::to_string(bit);
  }
  return text;
}

std::string text_of(const Request &request) {
  constexpr const char *kOperations[] = {"?", "get", "next", "set", "delete"};
  if (request.opcode != FCS_MSG_REQUEST) {
    return "send " + std::to_string(request.opcode) + "/" + std::to_string(request.flag) + " " +
           text_of_record(form_of(request.opcode), request.payload);
  }
  const bool reads = request.flag == FCS_OP_GET || request.flag == FCS_OP_GETNEXT;
  const FcsKeyForm *key = fcs_key_form(request.record_id);
  std::string form = reads ? "" : form_of(request.record_id);
  if (reads && key != nullptr) {
    form = key->words == 2         ? "w w"
           : key->name_octets == 0 ? "w"
                                   : "w " + std::to_string(key->name_octets);
  }
  const std::string fields = text_of_record(form, request.payload);
  return std::string(kOperations[request.flag % std::size(kOperations)]) + " " +
         std::to_string(request.record_id) + (fields.empty() ? "" : " " + fields);
}

void start_module() {
  RecordingPlatform last = std::exchange(platform, RecordingPlatform());
  platform.registered = std::move(last.registered);
  platform.handlers = std::move(last.handlers);
  lines_of(reset_module);
  lines_of(init_fcs_mib);
  platform.lines.clear();
}

Lines lines_of(const std::function<void()> &action) {
  static FILE *const recorded_output = recorded_stream("1>");
  static FILE *const recorded_error = recorded_stream("2>");
  struct Streams {
    FILE *output = std::exchange(stdout, recorded_output);
    FILE *error = std::exchange(stderr, recorded_error);
    ~Streams() {
      stdout = output;
      stderr = error;
    }
  };
  platform.lines.clear();
  platform.exchanges.clear();
  const Streams recorded;
  action();
  return platform.lines;
}

void record(const std::string &line) {
  record_parts(line);
}

IpcMessage::IpcMessage(const Bytes &octets) : payload{} {
  std::copy(octets.begin(), octets.end(), payload);
}

// ---- Messaging

const uint32_t ipc_response_queue = 77;

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
  std::ostringstream sender;
  sender << user << "/" << session << " to " << service << "/" << queue << "/" << reserved;
  const bool usual = sender.str() == "user/7 to 20/77/0";
  if (platform.recording) {
    record(text_of(asked) + (usual ? "" : " from " + sender.str()));
  }
  const Reply reply = platform.service(asked);
  if (platform.recording) {
    platform.lines.back() += reply.result == 0 ? "" : " -> " + std::to_string(reply.result);
    platform.exchanges.push_back(exchange_of(asked, reply));
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
  const Bytes sent(octets, octets + length);
  platform.sent.push_back({opcode, sent});
  record_parts("message ", opcode, " ", text_of_octets(sent), " to ", queue, "/",
               text_of_octets(bytes_of(destination->octets)), "/", a, "/", b, "/", c);
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
  record_parts("notif register ", opcode, handler == nullptr ? " without handler" : "");
  platform.handlers[opcode] = handler;
}

void agent_notif_unregister(uint32_t opcode) {
  record_parts("notif unregister ", opcode);
}

int32_t agent_notif_enable_get(uint32_t opcode) {
  record_parts("notif enable get ", opcode);
  return platform.notif_enabled;
}

int32_t agent_notif_enable_set(uint32_t opcode, int32_t enable) {
  record_parts("notif enable set ", opcode, " ", enable);
  return platform.enable_result;
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
  record_parts("log error ", error->code, " ", error->text, rest_is_zero ? "" : " dirty");
}

void agent_log_role_error(uint32_t message) {
  record_parts("log role error ", std::hex, message);
}

void agent_log_set_error(uint32_t message, uint32_t number) {
  record_parts("log set error ", std::hex, message, " ", std::dec, number);
}

// ---- Roles

int role_allowed_vsans(VsanBitmap *allowed, const oid *name, size_t name_length, int access) {
  record_parts("role vsans ", question(access, name, name_length, *allowed));
  if (platform.restricted != 0) {
    bitmap_copy(allowed, &platform.readable);
  }
  return platform.restricted;
}

int role_allowed_vsans_from_list(const VsanBitmap *list, VsanBitmap *allowed, const oid *name,
                                 size_t name_length, int access) {
  record_parts("role list ", question(access, name, name_length, *list), " (", text_of(*list), ")");
  if (platform.role_fails != 0) {
    return -1;
  }
  bitmap_copy(allowed, list);
  if (platform.restricted != 0) {
    VsanBitmap hidden = *list;
    bitmap_subtract(&hidden, &platform.readable);
    bitmap_subtract(allowed, &hidden);
  }
  return 0;
}

int role_vsan_bitmap_allowed(const VsanBitmap *vsans, const oid *name, size_t name_length,
                             int access) {
  record_parts("role bitmap ", question(access, name, name_length, *vsans), " (", text_of(*vsans),
               ")");
  return platform.role_refuses_writes != 0 ? 2 : 1; // Anything but 1 refuses.
}

int role_vsan_allowed(uint32_t vsan, VsanBitmap allowed) {
  record_parts("role allowed ", vsan);
  const auto bit = static_cast<int32_t>(vsan);
  return vsan < 4096 && bitmap_next_bit(&allowed, bit - 1) == bit ? 1 : 0;
}

int role_next_allowed_vsan(uint32_t *vsan, VsanBitmap allowed) {
  record_parts("role next ", *vsan);
  const int32_t next = *vsan < 4096 ? bitmap_next_bit(&allowed, static_cast<int32_t>(*vsan)) : -1;
  *vsan = next < 0 ? *vsan : static_cast<uint32_t>(next);
  return next < 0 ? 0 : 1;
}

// ---- Trace

const char *const trace_module_name = "recorded";

int trace_hist_filtered(uint32_t module, uint32_t /*level*/) {
  return platform.history_filtered != 0 || module != 0x730000 ? 1 : 0;
}

void trace_hist_event(uint32_t module, uint32_t length, const void *event) {
  require(length <= TRACE_RECORD_ROOM && static_cast<const char *>(event)[length - 1] == '\0',
          "an event is a text of at most 511 octets");
  uint32_t level = 0;
  memcpy(&level, event, sizeof(level));
  const char *text = static_cast<const char *>(event) + sizeof(level);
  const bool usual = module == 0x730000 && length == strlen(text) + 5;
  record_parts(level, " ", text, usual ? "" : " (unusual module or length)");
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
  if (platform.console != 0) {
    record_parts("console ", console, "/", module, "/", instance, " '", format, "' ",
                 formatted(format, arguments));
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
  record_parts("store ", number, " create ", options, " ", unique, " ",
               compare == mgmt_addr_cmp  ? "mgmt_addr_cmp"
               : compare == platform_cmp ? "platform_cmp"
                                         : "?",
               " ", sorted);
  *store = nullptr;
  if ((platform.failing_stores >> number & 1) != 0) {
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
  const bool taken = platform.failing_adds == 0 && element == key;
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
  record_parts("store ", store == nullptr ? 0 : store->number, " destroy");
}

Lines pending_rows() {
  Lines rows;
  const auto add = [&](const RowIndex *store, uint32_t record_id, size_t length) {
    for (const auto &row : store->rows) {
      const auto *octets = static_cast<const uint8_t *>(row.get());
      rows.push_back(std::to_string(record_id) + " " +
                     text_of_record(form_of(record_id), Bytes(octets, octets + length)));
    }
  };
  add(temp_mgmt_addr_table, FCS_REC_MGMT_ADDR, sizeof(MgmtAddrEntry));
  add(temp_platform_table, FCS_REC_PLATFORM, sizeof(PlatformEntry));
  return rows;
}

// ---- Net-SNMP's registration and debug output, in front of the library's own

extern "C" {

int register_mib(const char *module, const variable *variables, size_t size, size_t count,
                 const oid *root, size_t root_length) {
  record_parts("register ", module, " ", count, " x ", size, " at length ", root_length);
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
  record_parts("unregister at length ", root_length);
  return 0;
}

void snmp_set_detail(const char *detail) {
  record_parts("detail '", detail, "'");
}

int snmp_get_do_debugging() {
  return platform.agent_debugging;
}

void debugmsgtoken(const char *token, const char * /*format*/, ...) {
  record_parts("token ", token);
}

void debugmsg(const char *token, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  record_parts("debug ", token, ": ", formatted(format, arguments));
  va_end(arguments);
}
}
