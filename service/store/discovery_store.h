/**
 * What discovery and its events read and change in the store.
 */
#pragma once

#include "fabric_store.h"

#include <chrono>
#include <optional>
#include <vector>

namespace fcs {

/** The functions throw SqliteError when the database fails. */
class DiscoveryStore {
public:
  explicit DiscoveryStore(FabricStore &store);

  /** A VSAN's discovery status and how long a discovery of it takes, in seconds. */
  struct State {
    int32_t status;
    double takes_seconds;
  };
  /** Nothing when the fabric has no such VSAN. */
  std::optional<State> find(uint32_t vsan);
  std::vector<uint32_t> in_progress();

  /** Survives a killed service when it returns, and power cuts from the next commit on. */
  void set_status(uint32_t vsan, FcsDiscoveryStatus status) {
    store_.status_changes().set(vsan, status);
  }
  /** False when there was nothing to commit. */
  bool commit_statuses() { return store_.status_changes().commit(); }

  WriteTransaction write() { return store_.write(); }
  /** Ends a discovery, as part of the transaction that is open; one that is completed at this time
   *  of day. */
  void end_local_only(uint32_t vsan);
  void end_completed(uint32_t vsan, std::chrono::system_clock::time_point when);

  /** Counts one more rejected request, durably; false when the fabric has no such VSAN. */
  bool count_reject(uint32_t vsan);

  /** Seconds. */
  uint32_t timeout() { return store_.settings().get(Setting::kDiscoveryTimeout); }
  /** Durable when it returns. */
  void set_timeout(uint32_t seconds);

  int64_t changes_of_others() { return store_.changes_of_others(); }

  /** Throws SqliteError once the store has been deleted or replaced. */
  void check_in_place() const { store_.database().check_in_place(); }
  const std::string &path() const { return store_.path(); }

private:
  FabricStore &store_;
  Statement find_, in_progress_, end_local_only_, end_completed_, count_reject_;
};

} // namespace fcs
