/**
 * Whether a path still leads to the file that it once led to.
 */
#pragma once

#include "common/system/fd.h"

#include <string>
#include <sys/types.h>

namespace fcs {

class FileIdentity {
public:
  /** Of the file that `path` leads to now; throws std::system_error if there is none. */
  explicit FileIdentity(std::string path);
  /** Of the open file, which should be the one at `path`. */
  FileIdentity(std::string path, const Fd &file);

  /** False once the file has been deleted, moved or replaced by another one. */
  bool in_place() const;

private:
  std::string path_;
  dev_t device_;
  ino_t inode_;
};

} // namespace fcs
