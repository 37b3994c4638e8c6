#include "peer_policy.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>
#include <system_error>

namespace fcs {

namespace {

[[noreturn]] void fail() {
  throw std::system_error(errno, std::generic_category(), "cannot tell who connects");
}

std::vector<gid_t> supplementary_groups(int fd) {
  std::vector<gid_t> groups;
  socklen_t length = 0;
  while (getsockopt(fd, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &length) != 0) {
    if (errno != ERANGE) {
      fail();
    }
    groups.resize(length / sizeof(gid_t));
  }
  groups.resize(length / sizeof(gid_t));
  return groups;
}

} // namespace

Peer peer_of(int fd, const PeerPolicy &policy) {
  ucred credentials{};
  socklen_t length = sizeof(credentials);
  if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) {
    fail();
  }
  Peer peer{credentials.pid, credentials.uid, {}};
  if (policy.group) {
    peer.groups = supplementary_groups(fd);
  }
  peer.groups.push_back(credentials.gid);
  return peer;
}

std::string peer_fault(const Peer &peer, const PeerPolicy &policy) {
  const bool is_member =
      policy.group && std::ranges::find(peer.groups, *policy.group) != peer.groups.end();
  if (peer.uid == 0 || peer.uid == policy.service_user || is_member) {
    return {};
  }
  return "user id " + std::to_string(peer.uid) + " may not connect to the FCS service";
}

} // namespace fcs
