/**
 * Who may connect to the service.
 */
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace fcs {

/** The process at the other end of a socket, as the kernel vouches for it. */
struct Peer {
  pid_t pid;
  uid_t uid;
  std::vector<gid_t> groups; ///< Primary and supplementary.
};

/** Root, the service's own user and the members of one group may connect. */
struct PeerPolicy {
  uid_t service_user;
  std::optional<gid_t> group;
};

/**
 * Of a connected Unix-domain socket; its supplementary groups only when the policy names a group.
 * Throws std::system_error.
 */
Peer peer_of(int fd, const PeerPolicy &policy);

/** Why the peer may not connect; empty when it may. */
std::string peer_fault(const Peer &peer, const PeerPolicy &policy);

} // namespace fcs
