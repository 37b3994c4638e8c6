/**
 * The FCS service's ends of the agent's connections, in place of a service: socket pairs. What a
 * test has them say is on its way before the agent listens, so that nothing has to wait.
 */
#pragma once

#include "common/system/fd.h"

#include <cstddef>
#include <functional>

namespace service_peer {

/** Given the service's end of each connection that the agent makes. \return 0, or the errno with
 * which the connection fails. */
inline std::function<int(Fd peer)> on_connection;

/** Sends a message of the service, if it has a connection to send it on. */
void send_to_agent(const Fd &peer, const void *message, size_t length);

/** A turn of the agent's select loop: what has arrived is read. */
void serve_agent();

} // namespace service_peer
