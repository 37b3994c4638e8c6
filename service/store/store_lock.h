/**
 * The lock that a service has on its store. Tools work on the store beside it.
 */
#pragma once

#include "common/system/fd.h"

#include <string>

namespace fcs {

/** Held until it goes, or the process ends, however that ends. */
class StoreLock {
public:
  /** Throws std::runtime_error naming the store and the process that has it, or what else fails. */
  explicit StoreLock(const std::string &store);
  StoreLock(const StoreLock &) = delete;
  StoreLock &operator=(const StoreLock &) = delete;
  ~StoreLock();

private:
  std::string path_;
  Fd file_;
};

} // namespace fcs
