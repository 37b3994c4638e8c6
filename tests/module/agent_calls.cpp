#include "agent_calls.h"

#include "tests/require.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

Name::Name(const variable &object, const std::vector<oid> &index)
    : length(object.namelen + index.size()) {
  std::copy(index.begin(), index.end(), std::copy_n(object.name, object.namelen, room.begin()));
}

int64_t Answer::word() const {
  int32_t word = 0;
  if (!value || value->size() != sizeof(word)) {
    throw std::logic_error("not a word");
  }
  memcpy(&word, value->data(), sizeof(word));
  return word;
}

Answer read_name(const variable &object, Name &name, bool exact) {
  constexpr size_t kLongestValue = 257; // The image of a VSAN list.
  variable entry = object;              // The handlers' parameter is not const.
  size_t length = 0;
  Answer answer{};
  answer.answered = entry.findVar(&entry, name.room.data(), &name.length, exact ? 1 : 0, &length,
                                  &answer.write_method);
  require(name.length <= MAX_OID_LEN, "an OID has room");
  if (name.length > object.namelen) {
    answer.index.assign(name.room.data() + object.namelen, name.room.data() + name.length);
  }
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

Answer read_object(FcsObject object, const std::vector<oid> &index, bool exact) {
  const variable &entry = platform.registered_for(object);
  Name name(entry, index);
  return read_name(entry, name, exact);
}

Binding::Binding(const variable &object, Name name, u_char type, const Bytes &value)
    : object_(&object), name_(std::move(name)), type_(type), length_(value.size()) {
  // The agent has numbers in a long, and even a text of no octets somewhere.
  value_.reset(new u_char[type == ASN_OCTET_STR ? length_ : std::max(length_, sizeof(long))]());
  std::copy(value.begin(), value.end(), value_.get());
}

Binding::Binding(FcsObject object, const std::vector<oid> &index, u_char type, const Bytes &value)
    : Binding(platform.registered_for(object), Name(platform.registered_for(object), index), type,
              value) {}

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

int write_set(std::vector<Binding> &bindings) {
  int status = SNMP_ERR_NOERROR;
  const auto run = [&](int phase) {
    for (Binding &binding : bindings) {
      if (phase == kReserve1) {
        binding.read();
      }
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

int write_object(FcsObject object, const Bytes &value, const std::vector<int> &phases) {
  Binding binding(object, {0}, static_cast<u_char>(platform.registered_for(object).type), value);
  binding.read();
  int status = SNMP_ERR_NOERROR;
  for (auto phase = phases.begin(); phase != phases.end() && status == SNMP_ERR_NOERROR; ++phase) {
    status = binding.write(*phase);
  }
  return status;
}

Raised notify(uint32_t opcode, const std::optional<Bytes> &payload) {
  std::optional<IpcMessage> message;
  if (payload) {
    message.emplace(*payload);
  }
  oid trap_oid[AGENT_TRAP_OID_ROOM] = {};
  size_t length = 0;
  int send = 42;
  netsnmp_variable_list *bindings =
      platform.handlers.at(opcode)(message ? &*message : nullptr, trap_oid, &length, &send);
  require(send == 0 || (send == 1 && length == std::size(trap_oid)),
          "a notification that is to be sent has an OID");
  require(send == 1 || bindings == nullptr, "bindings come with a notification");
  Raised raised{send == 1, {trap_oid, trap_oid + length}, {}};
  for (auto *b = bindings; platform.recording && b != nullptr; b = b->next_variable) {
    std::string line;
    for (size_t i = 0; i < b->name_length; ++i) {
      line += "." + std::to_string(b->name[i]);
    }
    line += " " + std::to_string(b->type) + ": ";
    line += b->type == ASN_INTEGER ? std::to_string(*b->val.integer)
                                   : std::string(b->val.string, b->val.string + b->val_len);
    raised.bindings.push_back(line);
  }
  snmp_free_varbind(bindings);
  return raised;
}
