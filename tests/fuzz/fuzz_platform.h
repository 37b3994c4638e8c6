/**
 * A quiet platform for fuzzing the module: what the service answers, whom the role restricts to
 * what, and in which state the module is comes out of the input.
 */
#pragma once

#include "fuzz_input.h"

#include "feature/fabric_conf_server/snmp/fcs_mib.h"

#include <vector>

/** Starts the module anew; the platform takes what it needs from `input` from now on. */
void start_module(FuzzInput &input);

/** One of the registered variables, with its whole name. */
const variable &take_object(FuzzInput &input);

/** An OID in the room that the agent gives to every one. */
struct Name {
  std::vector<oid> room = std::vector<oid>(MAX_OID_LEN);
  size_t length = 0;
};

/**
 * An OID: an octet says how much of the object's name it begins with, but no less than `least`;
 * another how many sub-identifiers follow, each an octet, or the word behind an octet of 255.
 */
Name take_name(FuzzInput &input, const variable &object, size_t least);

struct Reading {
  u_char *value;
  WriteMethod *write_method;
};

/** Has an object's handler read `name`, and checks what must hold of every answer. */
Reading read_object(const variable &object, Name &name, bool exact);

/** A message of the service; its payload is followed by zeros to the end of the room. */
struct IpcMessage {
  uint32_t opcode;
  std::vector<uint8_t> payload;
};

/** Calls the handler of the message's opcode; null for the handler alone, without a message. */
void notify(uint32_t opcode, const IpcMessage *message);

/** Takes the next message that the module has sent to itself; false when there is none. */
bool take_looped_back(IpcMessage &message);
