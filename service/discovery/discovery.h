/**
 * Discovery of VSANs: starts and ends it, and announces what has happened.
 *
 * The store is the truth. Which VSANs are in progress stands there; here stands only when each of
 * them ends. A fabric that another program imports may end discoveries or bring VSANs that are in
 * progress, and both are taken up from the store.
 */
#pragma once

#include "service/reports/notification_queue.h"
#include "service/store/discovery_store.h"

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <thread>

namespace fcs {

/** The clocks that discovery runs by. */
struct DiscoveryClock {
  using Steady = std::chrono::steady_clock::time_point;
  using TimeOfDay = std::chrono::system_clock::time_point;
  std::function<Steady()> now = std::chrono::steady_clock::now;
  std::function<TimeOfDay()> time_of_day = std::chrono::system_clock::now;
  std::function<void(std::chrono::milliseconds)> sleep = [](std::chrono::milliseconds time) {
    std::this_thread::sleep_for(time);
  };
};

/**
 * The discoveries of a store. The functions that answer a request give an FcsResult, and throw
 * SqliteError when the database fails; then nothing has changed and nothing is announced.
 */
class Discovery {
public:
  /** How often at most the store is looked at because another program may have changed it. */
  static constexpr std::chrono::seconds kLookInterval{1};
  /** How long after it was told of a change may still come: its writer waits for a disk. */
  static constexpr std::chrono::minutes kLongestWrite{1};
  /** How long changed statuses wait for more of them, to be committed together. Meanwhile no other
   * program can write to the store; afterwards it is left to those that wait for this long. */
  static constexpr std::chrono::milliseconds kCommitInterval{100};
  static constexpr std::chrono::milliseconds kLeftToOthers{3};

  /**
   * Discoveries that an earlier service has left in progress time out at once.
   * \param notifications takes the announcements; has to outlive this, as has the store.
   * \param time_scale divides how long discoveries and their time-out take.
   * Throws SqliteError.
   */
  Discovery(FabricStore &store, NotificationQueue &notifications, double time_scale = 1,
            DiscoveryClock clock = {});
  Discovery(const Discovery &) = delete;
  Discovery &operator=(const Discovery &) = delete;
  ~Discovery();

  /** Starts a discovery; one that is in progress begins anew. FCS_ERR_UNKNOWN_VSAN. */
  FcsResult start(uint32_t vsan);
  /** Time-out of the discoveries to come, in seconds. FCS_ERR_BAD_VALUE outside its range. */
  FcsResult set_timeout(uint32_t seconds);
  /** Forgets what discovery found. FCS_ERR_UNKNOWN_VSAN, FCS_ERR_IN_PROGRESS. */
  FcsResult invalidate(uint32_t vsan);
  /** Ends a discovery of the VSAN now, be it in progress or not. FCS_ERR_UNKNOWN_VSAN. */
  FcsResult complete(uint32_t vsan);
  FcsResult time_out(uint32_t vsan);

  /** Counts and announces a rejected registration. FCS_ERR_UNKNOWN_VSAN. */
  FcsResult reject(uint32_t vsan, const FcsRejectNotif &reject);
  /** Announces a changed management address. FCS_ERR_UNKNOWN_VSAN. */
  FcsResult change_address(const FcsAddressNotif &change);

  /** From now on the store is looked at when it may have changed, and no longer all the time. */
  void expect_to_be_told() { is_told_of_changes_ = true; }
  /** Another program may have changed the store, or may be about to. */
  void store_may_have_changed();

  /** Ends what is due. A failure of the store is logged, and tried again later. */
  void run_due();
  /** When `run_due` has something to do next. */
  DiscoveryClock::Steady next_due() const;

private:
  struct Running {
    DiscoveryClock::Steady ends;
    FcsDiscoveryStatus outcome; ///< FCS_DISCOVERY_COMPLETED, or local-only when it times out.
  };

  Running run_from_now(double takes_seconds);
  void abandon_leftovers();
  void set_status(uint32_t vsan, FcsDiscoveryStatus status);
  DiscoveryClock::Steady look_after(DiscoveryClock::Steady now) const;
  void follow_store();
  void end_due();
  FcsResult end(uint32_t vsan, FcsDiscoveryStatus outcome);
  void store_outcome(uint32_t vsan, FcsDiscoveryStatus outcome);
  void announce_outcome(uint32_t vsan, FcsDiscoveryStatus outcome);

  DiscoveryStore store_;
  NotificationQueue &notifications_;
  double time_scale_;
  DiscoveryClock clock_;
  std::map<uint32_t, Running> running_; ///< By VSAN.
  int64_t followed_changes_ = 0;        ///< Of others.
  /** No running discovery ends before; kept, as it is asked for with every message. */
  DiscoveryClock::Steady next_end_ = DiscoveryClock::Steady::max();
  bool is_told_of_changes_ = false;
  DiscoveryClock::Steady next_look_; ///< At the store, for changes by others.
  DiscoveryClock::Steady looked_;    ///< The last time.
  DiscoveryClock::Steady told_;      ///< That it may have changed, the last time.
  DiscoveryClock::Steady commit_by_ = DiscoveryClock::Steady::max(); ///< Changed statuses.
  DiscoveryClock::Steady retry_; ///< Nothing before this, after the store has failed.
  std::string fault_;            ///< With which the store fails; told once.
};

} // namespace fcs
