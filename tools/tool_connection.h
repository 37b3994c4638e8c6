/**
 * Connections of fcsctl to the running service.
 */
#pragma once

#include "common/system/fd.h"
#include "common/wire/ipc_wire.h"

#include <cstddef>
#include <string>

namespace fcsctl {

/** A greeted connection. The functions throw std::runtime_error naming the socket and the fault. */
class ToolConnection {
public:
  /** Connects to the service at `path`; waits for two seconds at most. */
  ToolConnection(const std::string &path, ipc_wire::Purpose purpose);

  void send(const void *message, size_t length);
  /** Waits for a message, two seconds at most; how many octets it has. */
  size_t receive(void *room, size_t length);
  /** Waits for a message, for ever. */
  size_t receive_patiently(void *room, size_t length);

  [[noreturn]] void fail(const std::string &fault) const;

private:
  void greet(ipc_wire::Purpose purpose);

  std::string path_;
  Fd fd_;
};

} // namespace fcsctl
