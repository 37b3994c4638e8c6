#include "agent_calls.h"

#include "tests/require.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <utility>

std::vector<variable> registered;
int32_t register_result;
int32_t agent_debugging;

void release_stores() {
  row_index_release(temp_mgmt_addr_table);
  row_index_release(temp_platform_table);
  platform.stores_created = 0;
}

void start_module() {
  int32_t *const numbers[] = {
      &fcs_spin_lock,       &fcs_discovery_timeout,    &fcs_start_discovery,
      &fcs_rej_reason_code, &fcs_rej_reason_code_expl, &fcs_return_value.record};
  static std::vector<int32_t> loaded;
  for (size_t i = 0; i < std::size(numbers); ++i) {
    loaded.size() == i ? loaded.push_back(*numbers[i]) : void(*numbers[i] = loaded[i]);
  }
  memset(fcs_discovery_name, 0, sizeof(fcs_discovery_name));
  // Ends a SET that a test has left open: what it has pending is released with the test.
  write_fcsStartDiscovery(UNDO, nullptr, 0, 0, nullptr, nullptr, 0);
  write_fcsVsanDiscoveryTimeOut(UNDO, nullptr, 0, 0, nullptr, nullptr, 0);
  release_stores();
  platform = MemoryPlatform();
  register_result = MIB_REGISTERED_OK;
  agent_debugging = 0;
  init_fcs_mib();
}

Answer read_name(const variable &object, Name &name, bool exact) {
  constexpr size_t kLongestValue = 257; // The image of a VSAN list.
  variable entry = object;              // The handlers' parameter is not const.
  size_t length = 0;
  Answer answer{};
  answer.answered = entry.findVar(&entry, name.room.data(), &name.length, exact ? 1 : 0, &length,
                                  &answer.write_method);
  require(name.length <= MAX_OID_LEN, "an OID has room");
  if (answer.answered != nullptr) {
    require(length <= kLongestValue, "a value has its object's length");
    require(object.type == ASN_OCTET_STR || length == sizeof(uint32_t), "a number is one word");
    require(name.length > object.namelen && snmp_oid_compare(name.room.data(), object.namelen,
                                                             object.name, object.namelen) == 0,
            "an answer is an instance of its object");
    answer.value.emplace(answer.answered, answer.answered + length);
  }
  return answer;
}

Binding::Binding(const variable &object, Name name, u_char type, const Bytes &value,
                 std::optional<size_t> told)
    : object_(object), name_(std::move(name)), type_(type), length_(told.value_or(value.size())) {
  // The agent has numbers in a long, and even a text of no octets somewhere.
  const size_t least = type == ASN_OCTET_STR ? 0 : sizeof(long);
  value_.reset(new u_char[std::max(value.size(), least)]());
  std::ranges::copy(value, value_.get());
}

int Binding::write(int phase) {
  if (!current_) {
    const bool listening = std::exchange(platform.listening, false);
    Name found = name_;
    current_ = read_name(object_, found, true);
    platform.listening = listening;
  }
  if (current_->write_method == nullptr) {
    return SNMP_ERR_NOTWRITABLE;
  }
  const int status = current_->write_method(phase, value_.get(), type_, length_, current_->answered,
                                            name_.room.data(), name_.length);
  require(status >= SNMP_ERR_NOERROR && status <= MAX_SNMP_ERR, "a status is one of SNMP's");
  return status;
}

int write_set(size_t bindings, const std::function<int(size_t binding, int phase)> &write) {
  int status = SNMP_ERR_NOERROR;
  const auto run = [&](int phase) {
    for (size_t i = 0; i < bindings; ++i) {
      const int refusal = write(i, phase);
      status = status == SNMP_ERR_NOERROR ? refusal : status;
    }
  };
  for (const int phase : {RESERVE1, RESERVE2, ACTION}) {
    run(phase);
    if (status != SNMP_ERR_NOERROR) {
      run(phase == ACTION ? UNDO : FREE);
      return status;
    }
  }
  run(COMMIT);
  return status;
}

// ---- Net-SNMP's registration and debug output, in front of the library's own

extern "C" {

int register_mib(const char *module, const variable *variables, size_t size, size_t count,
                 const oid *root, size_t root_length) {
  require(size == sizeof(variable7), "a variable has room for the module's names");
  tell("register", module, count, "at length", root_length);
  const auto *entries = reinterpret_cast<const variable7 *>(variables);
  while (registered.size() < count) {
    const variable7 &entry = entries[registered.size()];
    variable &whole = registered.emplace_back();
    whole.magic = entry.magic;
    whole.type = static_cast<char>(entry.type);
    whole.acl = entry.acl;
    whole.findVar = entry.findVar;
    whole.namelen = static_cast<u_char>(root_length + entry.namelen);
    std::copy_n(entry.name, entry.namelen, std::copy_n(root, root_length, whole.name));
  }
  return register_result;
}

int unregister_mib(oid * /*root*/, size_t root_length) {
  tell("unregister at length", root_length);
  return 0;
}

void snmp_set_detail(const char *detail) {
  tell("detail '" + std::string(detail) + "'");
}

int snmp_get_do_debugging() {
  return agent_debugging;
}

void debugmsgtoken(const char *token, const char * /*format*/, ...) {
  tell("token", token);
}

void debugmsg(const char *token, const char *format, ...) {
  char line[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  tell("debug", std::string(token) + ":", line);
}
}
