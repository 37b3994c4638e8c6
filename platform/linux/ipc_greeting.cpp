#include "ipc_wire.h"

#include <cstring>
#include <sys/socket.h>

namespace ipc_wire {

namespace {

/** Room for one descriptor beside a message. */
union DescriptorRoom {
  cmsghdr header;
  char octets[CMSG_SPACE(sizeof(int))];
};

} // namespace

ssize_t send_greeting(int socket, const Greeting &greeting, int descriptor) {
  iovec part{const_cast<Greeting *>(&greeting), sizeof(greeting)};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  DescriptorRoom beside{};
  if (descriptor >= 0) {
    beside.header.cmsg_level = SOL_SOCKET;
    beside.header.cmsg_type = SCM_RIGHTS;
    beside.header.cmsg_len = CMSG_LEN(sizeof(descriptor));
    std::memcpy(CMSG_DATA(&beside.header), &descriptor, sizeof(descriptor));
    message.msg_control = &beside;
    message.msg_controllen = sizeof(beside);
  }
  return sendmsg(socket, &message, MSG_NOSIGNAL);
}

ssize_t receive_greeting(int socket, void *room, size_t length, int &descriptor) {
  iovec part{room, length};
  DescriptorRoom beside{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = &beside;
  message.msg_controllen = sizeof(beside);
  descriptor = -1;
  const ssize_t got = recvmsg(socket, &message, MSG_DONTWAIT | MSG_TRUNC | MSG_CMSG_CLOEXEC);
  const cmsghdr *header = got < 0 ? nullptr : CMSG_FIRSTHDR(&message);
  if (header != nullptr && header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS &&
      header->cmsg_len == CMSG_LEN(sizeof(descriptor))) {
    std::memcpy(&descriptor, CMSG_DATA(header), sizeof(descriptor));
  }
  return got;
}

} // namespace ipc_wire
