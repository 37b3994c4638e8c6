#include "file_identity.h"

#include <cerrno>
#include <sys/stat.h>
#include <system_error>
#include <utility>

namespace fcs {

FileIdentity::FileIdentity(std::string path) : FileIdentity(std::move(path), Fd()) {}

FileIdentity::FileIdentity(std::string path, const Fd &file) : path_(std::move(path)) {
  struct stat found {};
  if ((file ? fstat(file.get(), &found) : stat(path_.c_str(), &found)) != 0) {
    throw std::system_error(errno, std::generic_category(), path_);
  }
  device_ = found.st_dev;
  inode_ = found.st_ino;
}

bool FileIdentity::in_place() const {
  struct stat now {};
  return stat(path_.c_str(), &now) == 0 && now.st_dev == device_ && now.st_ino == inode_;
}

} // namespace fcs
