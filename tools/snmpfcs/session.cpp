#include "session.h"

#include <cerrno>

namespace snmpfcs {

namespace {

void add_binding(netsnmp_pdu &request, const Oid &name, const Binding &binding) {
  const auto add = [&](u_char type, const void *value, size_t length) {
    snmp_pdu_add_variable(&request, name.data(), name.size(), type, value, length);
  };
  if (const auto *const octets = std::get_if<std::string>(&binding.value)) {
    add(ASN_OCTET_STR, octets->data(), octets->size());
  } else {
    const long number = static_cast<long>(std::get<int64_t>(binding.value));
    add(binding.object->syntax == Syntax::kUnsigned ? ASN_UNSIGNED : ASN_INTEGER, &number,
        sizeof number);
  }
}

} // namespace

Refused::Refused(long error_status, const Object *refused_object)
    : Failure(snmp_errstring(static_cast<int>(error_status)), kFailed), status(error_status),
      object(refused_object) {}

Value value_of(const netsnmp_variable_list &variable) {
  switch (variable.type) {
  case ASN_OCTET_STR:
  case ASN_OPAQUE:
  case ASN_IPADDRESS:
    return std::string(reinterpret_cast<const char *>(variable.val.string), variable.val_len);
  case ASN_INTEGER: return int64_t{*variable.val.integer};
  case ASN_COUNTER:
  case ASN_UNSIGNED:
  case ASN_TIMETICKS: return static_cast<int64_t>(static_cast<uint32_t>(*variable.val.integer));
  default: return {};
  }
}

Session::Session(const netsnmp_session &described, Oid module_root)
    : root_(std::move(module_root)), agent_(described.peername) {
  netsnmp_session copy = described;
  errno = 0; // The library tells it with its own fault, even one of long ago.
  handle_ = snmp_sess_open(&copy);
  if (handle_ == nullptr) {
    char *text = nullptr;
    snmp_error(&copy, nullptr, nullptr, &text);
    const std::string fault = text;
    SNMP_FREE(text);
    throw NoAnswer(agent_ + ": " + fault);
  }
  session_ = snmp_sess_session(handle_);
}

Session::~Session() {
  snmp_sess_close(handle_);
}

Oid Session::oid_of(const Object &object) const {
  return root_ + *read_oid(object.place);
}

netsnmp_pdu *Session::make(int command) const {
  netsnmp_pdu *const request = snmp_pdu_create(command);
  if (request == nullptr) {
    throw std::bad_alloc();
  }
  return request;
}

void Session::fail() const {
  char *text = nullptr;
  snmp_sess_error(handle_, nullptr, nullptr, &text);
  const std::string fault = text;
  SNMP_FREE(text);
  throw NoAnswer(agent_ + ": " + fault);
}

Answer Session::exchange(netsnmp_pdu *request) {
  netsnmp_pdu *received = nullptr;
  const int status = snmp_sess_synch_response(handle_, request, &received);
  Answer answer(received, snmp_free_pdu);
  if (status == STAT_TIMEOUT) {
    throw NoAnswer(agent_ + ": no answer: nobody is there, it is busy, or it does not take this "
                            "community or user");
  }
  if (status != STAT_SUCCESS || !answer) {
    fail();
  }
  return answer;
}

const Object *Session::object_at(const netsnmp_pdu &answer, long place) const {
  const netsnmp_variable_list *variable = answer.variables;
  for (long i = 1; variable != nullptr && i < place; ++i) {
    variable = variable->next_variable;
  }
  if (variable == nullptr || place < 1) {
    return nullptr;
  }
  const auto found = std::ranges::find_if(kObjects, [&](const Object &candidate) {
    const Oid name = oid_of(candidate);
    return netsnmp_oid_is_subtree(name.data(), name.size(), variable->name,
                                  variable->name_length) == 0;
  });
  return found == kObjects.end() ? nullptr : &*found;
}

std::vector<Value> Session::get(const std::vector<Oid> &instances) {
  std::vector<Value> values(instances.size());
  std::vector<size_t> asked(instances.size());
  for (size_t i = 0; i < asked.size(); ++i) {
    asked[i] = i;
  }
  while (!asked.empty()) {
    netsnmp_pdu *const request = make(SNMP_MSG_GET);
    for (const size_t i : asked) {
      snmp_add_null_var(request, instances[i].data(), instances[i].size());
    }
    const Answer answer = exchange(request);
    const auto place = static_cast<size_t>(answer->errindex);
    if (answer->errstat == SNMP_ERR_NOSUCHNAME && place >= 1 && place <= asked.size()) {
      asked.erase(asked.begin() + answer->errindex - 1); // SNMPv1 refuses all because of one.
      continue;
    }
    if (answer->errstat != SNMP_ERR_NOERROR) {
      throw Refused(answer->errstat, object_at(*answer, answer->errindex));
    }
    const netsnmp_variable_list *variable = answer->variables;
    for (size_t i = 0; i < asked.size() && variable != nullptr; ++i) {
      values[asked[i]] = value_of(*variable);
      variable = variable->next_variable;
    }
    break;
  }
  return values;
}

Value Session::get(const Object &object, const Oid &index) {
  return get({oid_of(object) + index}).front();
}

void Session::set(const std::vector<Binding> &bindings, const std::function<bool()> &is_done) {
  const int retries = session_->retries;
  for (int tries = 0;; ++tries) {
    netsnmp_pdu *const request = make(SNMP_MSG_SET);
    for (const Binding &binding : bindings) {
      add_binding(*request, oid_of(*binding.object) + binding.index, binding);
    }
    session_->retries = 0;
    try {
      const Answer answer = exchange(request);
      session_->retries = retries;
      if (answer->errstat != SNMP_ERR_NOERROR) {
        throw Refused(answer->errstat, object_at(*answer, answer->errindex));
      }
      return;
    } catch (const NoAnswer &) {
      session_->retries = retries;
      if (is_done()) {
        return;
      }
      if (tries >= retries) {
        throw;
      }
    }
  }
}

Answer Session::next(const std::vector<Oid> &instances, int repetitions) {
  const bool in_bulk = session_->version != SNMP_VERSION_1;
  netsnmp_pdu *const request = make(in_bulk ? SNMP_MSG_GETBULK : SNMP_MSG_GETNEXT);
  if (in_bulk) {
    request->non_repeaters = 0;
    request->max_repetitions = repetitions;
  }
  for (const Oid &instance : instances) {
    snmp_add_null_var(request, instance.data(), instance.size());
  }
  return exchange(request);
}

} // namespace snmpfcs
