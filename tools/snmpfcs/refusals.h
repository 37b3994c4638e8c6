/**
 * What an error status means, and what to do.
 */
#pragma once

#include "session.h"

#include <ostream>
#include <string>

namespace snmpfcs {

/** As "fcsPlatformName: wrongValue: a name with a blank; write it without". */
std::string explain(const Refused &refused);

/** All of them, as rows of a table. */
void print_refusals(std::ostream &out);

/** Runs a request; a refusal becomes a Failure that says what was refused, and why. */
template <class Request> void explained(const std::string &what, const Request &request) {
  try {
    request();
  } catch (const Refused &refused) {
    throw Failure(what + ": " + explain(refused), kFailed);
  }
}

} // namespace snmpfcs
