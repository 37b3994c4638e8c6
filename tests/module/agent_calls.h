/**
 * The agent's part in front of the recording platform: it has handlers read, set and notify as the
 * agent does, and checks what must hold of every answer.
 */
#pragma once

#include "recording_platform.h"

#include <memory>

/** An OID in the room that the agent gives to every one. */
struct Name {
  Name() = default;
  /** The object's own name, and `index` behind it. */
  Name(const variable &object, const std::vector<oid> &index);
  std::vector<oid> room = std::vector<oid>(MAX_OID_LEN);
  size_t length = 0;
};

/** What a read handler answered. */
struct Answer {
  std::optional<Bytes> value; ///< Absent: no instance.
  std::vector<oid> index;     ///< What follows the column in the request's OID afterwards.
  WriteMethod *write_method;
  u_char *answered; ///< The value where the handler has it.
  /** The value of an integer object. */
  int64_t word() const;
};

/** Has the handler of an object answer a request for `name`, which becomes the answer's. */
Answer read_name(const variable &object, Name &name, bool exact);

/** The same for the column of a registered object, followed by `index`. */
Answer read_object(FcsObject object, const std::vector<oid> &index, bool exact);

/** The phases of a SET, under names that GoogleMock leaves alone. */
enum Phase : int {
  kReserve1 = RESERVE1,
  kReserve2 = RESERVE2,
  kAction = ACTION,
  kCommit = COMMIT,
  kFree = FREE,
  kUndo = UNDO
};

/** A variable binding of a SET. Its value has as much room as the agent gives it, and no more. */
class Binding {
public:
  Binding(const variable &object, Name name, u_char type, const Bytes &value);
  Binding(FcsObject object, const std::vector<oid> &index, u_char type, const Bytes &value);

  /** Tells the handlers another length than the value's own. */
  void tell_length(size_t length) { length_ = length; }

  /** Has the object read, in silence: where the agent gets its write handler from. */
  void read();
  int write(int phase);

private:
  const variable *object_;
  Name name_;
  u_char type_;
  size_t length_;
  std::shared_ptr<u_char[]> value_;
  WriteMethod *write_method_ = nullptr;
  u_char *current_ = nullptr;
};

/**
 * A whole SET, phase by phase over its bindings as the agent goes.
 * \return the status of the first binding that failed.
 */
int write_set(std::vector<Binding> &bindings);

/**
 * Has a write handler run through phases of a SET of instance 0 of its object with a value of its
 * type, until one fails.
 * \return the status of the last phase that ran.
 */
int write_object(FcsObject object, const Bytes &value,
                 const std::vector<int> &phases = {kReserve1, kReserve2, kAction, kCommit});

/** What a handler of notifications asked for. */
struct Raised {
  bool send;
  std::vector<oid> trap_oid;
  Lines bindings; ///< "OID type: octets" each.
};

/** Calls the handler of the opcode; without a payload it gets no message. */
Raised notify(uint32_t opcode, const std::optional<Bytes> &payload);
