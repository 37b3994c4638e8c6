#include "store_lock.h"

#include "fabric_store.h"
#include "file_identity.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace fcs {

namespace {

/** A locked file, or none when the service that had it has just gone. */
Fd lock_file(const std::string &path) {
  Fd file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  struct flock lock {};
  lock.l_type = F_WRLCK;
  if (file && fcntl(file.get(), F_SETLK, &lock) == 0) {
    return FileIdentity(path, file).in_place() ? std::move(file) : Fd();
  }
  const bool is_locked = file && (errno == EAGAIN || errno == EACCES);
  if (!is_locked || fcntl(file.get(), F_GETLK, &lock) != 0) {
    throw std::runtime_error(std::strerror(errno));
  }
  if (lock.l_type == F_UNLCK) {
    return {};
  }
  // A process of another container has no id here.
  throw std::runtime_error("another service has it" +
                           (lock.l_pid > 0 ? ", process " + std::to_string(lock.l_pid) : ""));
}

} // namespace

StoreLock::StoreLock(const std::string &store) {
  try {
    path_ = FabricStore::file_beside(store, kLockSuffix);
    while (!file_) {
      file_ = lock_file(path_);
    }
  } catch (const std::exception &error) {
    throw std::runtime_error("cannot open the store " + store + ": " + error.what());
  }
}

StoreLock::~StoreLock() {
  unlink(path_.c_str());
}

} // namespace fcs
