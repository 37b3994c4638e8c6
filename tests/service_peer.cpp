#include "service_peer.h"

#include "common/wire/ipc_wire.h"
#include "require.h"

#include <cerrno>
#include <sys/select.h>
#include <sys/socket.h>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/library/fd_event_manager.h>

void service_peer::send_to_agent(const Fd &peer, const void *message, size_t length) {
  if (peer) {
    send(peer.get(), message, length, MSG_DONTWAIT | MSG_NOSIGNAL);
  }
}

void service_peer::serve_agent() {
  fd_set readable;
  fd_set writable;
  fd_set exceptional;
  FD_ZERO(&readable);
  FD_ZERO(&writable);
  FD_ZERO(&exceptional);
  int descriptors = 0;
  netsnmp_external_event_info(&descriptors, &readable, &writable, &exceptional);
  timeval now{};
  int ready = select(descriptors, &readable, &writable, &exceptional, &now);
  if (ready > 0) {
    netsnmp_dispatch_external_events(&ready, &readable, &writable, &exceptional);
  }
}

/** In place of the platform's own. */
int ipc_wire::connect_to(const std::string & /*path*/, int type_flags) {
  int ends[2] = {-1, -1};
  require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | type_flags, 0, ends) == 0,
          "there are sockets");
  if (const int error = service_peer::on_connection(Fd(ends[1])); error != 0) {
    close(ends[0]);
    errno = error;
    return -1;
  }
  return ends[0];
}
