/** A subagent of AgentX (RFC 2741): its life with the master, whatever it answers for. */
#pragma once

#include <string>

struct Subagent {
  std::string name;      ///< By which the agent library knows it, and calls its files.
  std::string master;    ///< unix:PATH or tcp:HOST:PORT.
  std::string directory; ///< What is kept across restarts; nobody else writes there.
  std::string objects;   ///< For the log: what it answers for.
  void (*register_objects)();
  void (*attached)() = [] {}; ///< The master has taken all of them.
  void (*detached)() = [] {}; ///< The master is gone. Not called without attached().
  void (*hung_up)() = [] {};  ///< SIGHUP.
};

/** Whether there is a session with the master now. */
bool subagent_has_master();

/**
 * Serves until SIGTERM or SIGINT. A master that is not there, goes away or has another subagent for
 * the same objects is tried again every second. It ends within a second, whatever the master does.
 */
void serve_as_subagent(const Subagent &subagent);
