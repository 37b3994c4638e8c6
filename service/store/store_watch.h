/** Tells that somebody may have changed a store, or taken it away. */
#pragma once

#include "common/system/fd.h"

#include <span>
#include <string>

namespace fcs {

/** Watches files by inotify. */
class StoreWatch {
public:
  /** Watches nothing. */
  StoreWatch() = default;
  /**
   * \param contents   files whose contents matter, as much as that they stay.
   * \param companions files that only have to stay. Those that are not there are left out.
   */
  StoreWatch(std::span<const std::string> contents, std::span<const std::string> companions);

  /** Readable once something has happened; -1 when nothing is watched or the system does not tell.
   */
  int fd() const { return fd_.get(); }

  /** Takes note of all that has happened. */
  void take() const;

private:
  Fd fd_;
};

} // namespace fcs
