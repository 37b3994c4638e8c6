#include "agent_calls.h"

#include "tests/require.h"

#include <algorithm>
#include <utility>

Name::Name(const variable &object, const std::vector<oid> &index)
    : length(object.namelen + index.size()) {
  std::copy(index.begin(), index.end(), std::copy_n(object.name, object.namelen, room.begin()));
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

Binding::Binding(const variable &object, Name name, u_char type, const Bytes &value)
    : object_(&object), name_(std::move(name)), type_(type), length_(value.size()) {
  // The agent has numbers in a long, and even a text of no octets somewhere.
  value_.reset(new u_char[type == ASN_OCTET_STR ? length_ : std::max(length_, sizeof(long))]());
  std::copy(value.begin(), value.end(), value_.get());
}

void Binding::read() {
  const bool recording = std::exchange(platform.recording, false);
  Name found = name_;
  const Answer answer = read_name(*object_, found, true);
  platform.recording = recording;
  write_method_ = answer.write_method;
  current_ = answer.answered;
}

int Binding::write(int phase) {
  if (write_method_ == nullptr) {
    return SNMP_ERR_NOTWRITABLE;
  }
  const int status =
      write_method_(phase, value_.get(), type_, length_, current_, name_.room.data(), name_.length);
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

int write_set(std::vector<Binding> &bindings) {
  return write_set(bindings.size(), [&](size_t i, int phase) {
    if (phase == RESERVE1) {
      bindings[i].read();
    }
    return bindings[i].write(phase);
  });
}

void notify(uint32_t opcode, const std::optional<Bytes> &payload) {
  std::optional<IpcMessage> message;
  if (payload) {
    message.emplace(*payload);
  }
  oid trap[AGENT_TRAP_OID_ROOM] = {};
  size_t length = 0;
  int send = 42;
  netsnmp_variable_list *bindings =
      platform.handlers.at(opcode)(message ? &*message : nullptr, trap, &length, &send);
  require(send == 0 || (send == 1 && length == std::size(trap)),
          "a notification that is to be sent has an OID");
  require(send == 1 || bindings == nullptr, "bindings come with a notification");
  if (send == 1) {
    record("trap " + text_of(trap, length));
  }
  for (const auto *b = bindings; platform.recording && b != nullptr; b = b->next_variable) {
    const Bytes octets(b->val.string, b->val.string + b->val_len);
    record("with " + text_of(b->name, b->name_length) + " type " + std::to_string(b->type) + " = " +
           (b->type == ASN_INTEGER ? std::to_string(*b->val.integer) : text_of_octets(octets)));
  }
  snmp_free_varbind(bindings);
}
