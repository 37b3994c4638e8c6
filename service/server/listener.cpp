#include "listener.h"

#include "common/wire/ipc_wire.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

namespace fcs {

namespace {

[[noreturn]] void fail(const std::string &what, int error = errno) {
  throw std::runtime_error(what + ": " + std::strerror(error));
}

/**
 * Two services that start at once must not both find the path free, so they look at it one after
 * the other, under a lock on its directory.
 */
Fd lock_directory(const std::string &path) {
  const std::string parent = std::filesystem::path(path).parent_path().string();
  const std::string directory = parent.empty() ? "." : parent;
  Fd fd(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!fd) {
    fail("cannot use the directory " + directory + " for the socket");
  }
  if (faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
    fail("cannot write to the directory " + directory + " for the socket");
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() > deadline) {
      fail("cannot lock the directory " + directory);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return fd;
}

/** Makes the path free, unless somebody answers there. */
void remove_dead_socket(const std::string &path) {
  struct stat file {};
  if (lstat(path.c_str(), &file) != 0) {
    if (errno == ENOENT) {
      return;
    }
    fail("cannot use the socket " + path);
  }
  if (!S_ISSOCK(file.st_mode)) {
    throw std::runtime_error("cannot use the socket " + path +
                             ": there is a file that is no socket");
  }
  const Fd probe(ipc_wire::connect_to(path, SOCK_NONBLOCK));
  if (probe || errno != ECONNREFUSED) {
    // A service that is too busy to take the connection lives, too.
    throw std::runtime_error("cannot use the socket " + path + ": another service owns it");
  }
  if (unlink(path.c_str()) != 0) {
    fail("cannot remove the dead socket " + path);
  }
}

} // namespace

Listener::Listener(const std::string &path, std::optional<gid_t> group) : path_(path) {
  if (path.empty() || path.size() >= sizeof(sockaddr_un::sun_path)) {
    throw std::runtime_error("cannot use the socket \"" + path + "\": a socket's path has 1 to " +
                             std::to_string(sizeof(sockaddr_un::sun_path) - 1) + " octets");
  }
  const Fd lock = lock_directory(path);
  remove_dead_socket(path);
  listen_on_path(group);
}

void Listener::listen_on_path(std::optional<gid_t> group) {
  socket_ = Fd(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path_.data(), path_.size());
  if (!socket_ ||
      bind(socket_.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
    fail("cannot make the socket " + path_);
  }
  const bool ready = lstat(path_.c_str(), &file_) == 0 &&
                     (!group || chown(path_.c_str(), static_cast<uid_t>(-1), *group) == 0) &&
                     chmod(path_.c_str(), 0660) == 0 && listen(socket_.get(), SOMAXCONN) == 0;
  if (!ready) {
    const int error = errno;
    unlink(path_.c_str());
    fail("cannot set up the socket " + path_, error);
  }
}

Listener::~Listener() {
  // Somebody may have put another socket there meanwhile, which is not ours to remove.
  struct stat now {};
  if (lstat(path_.c_str(), &now) == 0 && now.st_ino == file_.st_ino && now.st_dev == file_.st_dev) {
    unlink(path_.c_str());
  }
}

} // namespace fcs
