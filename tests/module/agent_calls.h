/**
 * The agent's part in front of the memory platform: it has handlers read, set and notify as the
 * agent does, and checks what must hold of every answer.
 */
#pragma once

#include "tests/foreign/memory_platform.h"

#include "feature/fabric_conf_server/snmp/fcs_mib.h"

/** The variables that register_mib was first called with, with whole names. */
extern std::vector<variable> registered;
extern int32_t register_result;
extern int32_t agent_debugging;

/** Gives the platform its defaults, and the module the state that it is loaded with. */
void start_module();

/** Ends the life of the pending rows and their stores. */
void release_stores();

/** An OID in the room that the agent gives to every one. */
struct Name {
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

/** A variable binding of a SET. */
class Binding {
public:
  /** \param value With as much room behind it as the agent gives it, and no more.
   *  \param told  The length that the handlers are told; without it the value's own. */
  Binding(const variable &object, Name name, u_char type, const Bytes &value,
          std::optional<size_t> told = {});

  /** Has the object read first, in silence: where the agent gets its write handler from. */
  int write(int phase);

private:
  variable object_;
  Name name_;
  u_char type_;
  size_t length_;
  std::shared_ptr<u_char[]> value_;
  std::optional<Answer> current_;
};

/**
 * A whole SET, phase by phase over its bindings as the agent goes.
 * \param write Has a binding, by its place, go through a phase.
 * \return the status of the first binding that failed.
 */
int write_set(size_t bindings, const std::function<int(size_t binding, int phase)> &write);
