/**
 * The service's socket in the file system.
 */
#pragma once

#include "common/system/fd.h"

#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>

namespace fcs {

/** A listening nonblocking socket; its file is removed when it goes. */
class Listener {
public:
  /**
   * Takes the path over from a service that has died, but not from one that lives.
   * \param group owner group of the socket file, whose members may connect.
   * Throws std::runtime_error naming the path and why it cannot be used.
   */
  Listener(const std::string &path, std::optional<gid_t> group);
  Listener(const Listener &) = delete;
  Listener &operator=(const Listener &) = delete;
  ~Listener();

  int fd() const { return socket_.get(); }
  const std::string &path() const { return path_; }

private:
  void listen_on_path(std::optional<gid_t> group);

  std::string path_;
  Fd socket_;
  struct stat file_ {};
};

} // namespace fcs
