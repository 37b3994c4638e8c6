#include "ipc_wire.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace ipc_wire {

int connect_to(const std::string &path, int type_flags) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof(address.sun_path)) {
    errno = ENAMETOOLONG;
    return -1;
  }
  std::memcpy(address.sun_path, path.data(), path.size());
  const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | type_flags, 0);
  if (fd < 0) {
    return -1;
  }
  if (connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
    const int error = errno;
    close(fd);
    errno = error;
    return -1;
  }
  return fd;
}

} // namespace ipc_wire
