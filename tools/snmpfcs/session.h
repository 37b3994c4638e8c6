/**
 * Requests to the agent. All throw NoAnswer when it does not answer, and Refused when it answers
 * with an error status.
 */
#pragma once

#include "common/program/program.h"
#include "mib.h"
#include "oid.h"

#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace snmpfcs {

/** Exit statuses besides 0, and 2 for a bad command line. */
enum ExitStatus {
  kFailed = 1,
  kIncomplete = 3, ///< The agent took the request, but not all has come of it that was asked for.
  kNoAnswer = 4,
  kInterrupted = 130,
};

struct NoAnswer : Failure {
  explicit NoAnswer(const std::string &what) : Failure(what, kNoAnswer) {}
};

struct Refused : Failure {
  Refused(long error_status, const Object *refused_object);
  long status;          ///< As SNMP_ERR_...
  const Object *object; ///< Null when it is none of the module's.
};

/** A number or octets; nothing where there is no such instance. */
using Value = std::variant<std::monostate, int64_t, std::string>;

/** An instance, and what is to be written there. */
struct Binding {
  const Object *object;
  Oid index;
  Value value;
};

/** The agent's own instance: hundredths of a second since it started. */
inline const Oid kSysUpTime = {1, 3, 6, 1, 2, 1, 1, 3, 0};

using Answer = std::unique_ptr<netsnmp_pdu, decltype(&snmp_free_pdu)>;

Value value_of(const netsnmp_variable_list &variable);

/** A session with one agent. */
class Session {
public:
  /** \param described what the command line says of it. */
  Session(const netsnmp_session &described, Oid module_root);
  ~Session();
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  Oid oid_of(const Object &object) const;
  /** The values of instances by their full names, in their order. */
  std::vector<Value> get(const std::vector<Oid> &instances);
  Value get(const Object &object, const Oid &index = {0});

  /**
   * Writes all of them in one request. No request is sent twice blindly: after a time-out `is_done`
   * tells whether the agent carried it out all the same.
   */
  void set(
      const std::vector<Binding> &bindings,
      const std::function<bool()> &is_done = [] { return false; });

  /** Up to `repetitions` successors of each instance, in turns; with SNMPv1 one of each. */
  Answer next(const std::vector<Oid> &instances, int repetitions);

  const std::string &agent() const { return agent_; }
  const Oid &root() const { return root_; }

private:
  Answer exchange(netsnmp_pdu *request);
  netsnmp_pdu *make(int command) const;
  const Object *object_at(const netsnmp_pdu &answer, long place) const;
  [[noreturn]] void fail() const;

  Oid root_;
  std::string agent_;
  void *handle_ = nullptr;
  netsnmp_session *session_ = nullptr;
};

} // namespace snmpfcs
