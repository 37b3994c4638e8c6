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
  WriteMethod *write_method;
  u_char *answered; ///< The value where the handler has it.
};

/** Has the handler of an object answer a request for `name`, which becomes the answer's. */
Answer read_name(const variable &object, Name &name, bool exact);

/** A variable binding of a SET. Its value has as much room as the agent gives it, and no more. */
class Binding {
public:
  Binding(const variable &object, Name name, u_char type, const Bytes &value);

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
 * \param write Has a binding, by its place, go through a phase.
 * \return the status of the first binding that failed.
 */
int write_set(size_t bindings, const std::function<int(size_t binding, int phase)> &write);
int write_set(std::vector<Binding> &bindings);

/** Calls the handler of the opcode, without a payload for no message; a notification that it raises
 * is one more line. */
void notify(uint32_t opcode, const std::optional<Bytes> &payload);
