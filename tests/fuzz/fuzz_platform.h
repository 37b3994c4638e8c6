/**
 * The recording platform for fuzzing the module, without its record: what the service answers, whom
 * the role restricts to what, and in which state the module is comes out of the input.
 */
#pragma once

#include "fuzz_input.h"

#include "tests/module/agent_calls.h"

/** Starts the module anew; the platform takes what it needs from `input` from now on. */
void start_module(FuzzInput &input);

/** One of the registered variables, with its whole name. */
const variable &take_object(FuzzInput &input);

/**
 * An OID: an octet says how much of the object's name it begins with, but no less than `least`;
 * another how many sub-identifiers follow, each an octet, or the word behind an octet of 255.
 */
Name take_name(FuzzInput &input, const variable &object, size_t least);
