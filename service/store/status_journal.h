/**
 * Changes of discovery statuses that have been acknowledged and are not yet in the store, in a
 * file: they survive a killed service, but no power cut.
 */
#pragma once

#include "common/system/fd.h"

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace fcs {

/** The functions throw SqliteError when the file cannot be used. Only one process may use it. */
class StatusJournal {
public:
  struct Change {
    uint32_t vsan;
    int32_t status; ///< FcsDiscoveryStatus.
  };

  /** Opens the journal, creating it (mode 0600) if there is none. */
  explicit StatusJournal(std::string path);

  bool empty() const { return length_ == 0; }
  /** The changes of the fabric, in their order. Those of another one are forgotten: it is gone. */
  std::vector<Change> begin(int64_t fabric);
  /** Adds a change of the fabric that `begin` has named. */
  void append(const Change &change);
  /** Forgets all changes. */
  void clear();

private:
  void write(const void *data, size_t length);
  [[noreturn]] void fail() const;

  std::string path_;
  Fd file_;
  off_t length_ = 0; ///< Of what counts: what a failed write has left behind does not.
};

} // namespace fcs
