/**
 * What discovery and its events read and change in the store.
 */
#pragma once

#include "service/fabric_store.h"

#include <chrono>
#include <optional>
#include <vector>

namespace fcs {

/** Each change is durable when its function returns, or with the transaction that it is part of.
 *  The functions throw SqliteError when the database fails. */
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

  void set_status(uint32_t vsan, FcsDiscoveryStatus status);
  /** Status completed, at this time of day. */
  void set_completed(uint32_t vsan, std::chrono::system_clock::time_point when);
  /** Counts one more rejected request; false when the fabric has no such VSAN. */
  bool count_reject(uint32_t vsan);

  /** Seconds. */
  uint32_t timeout() { return store_.settings().get(Setting::kDiscoveryTimeout); }
  void set_timeout(uint32_t seconds) { store_.settings().set(Setting::kDiscoveryTimeout, seconds); }

  /** Changes whenever another program has changed the store. */
  uint32_t version();

  Database &database() { return store_.database(); }
  const std::string &path() const { return store_.path(); }

private:
  FabricStore &store_;
  Statement find_, in_progress_, set_status_, set_completed_, count_reject_, version_;
};

} // namespace fcs
