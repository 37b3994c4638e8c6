#include "discovery.h"

#include "service/reports/log.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace fcs {

Discovery::Discovery(FabricStore &store, NotificationQueue &notifications, double time_scale,
                     DiscoveryClock clock)
    : store_(store), notifications_(notifications), time_scale_(time_scale),
      clock_(std::move(clock)), next_look_(clock_.now()), looked_(next_look_), retry_(next_look_) {
  abandon_leftovers();
}

Discovery::~Discovery() {
  try {
    store_.commit_statuses();
  } catch (const SqliteError &) { // The next service takes them up.
  }
}

void Discovery::abandon_leftovers() {
  const std::vector<uint32_t> vsans = store_.in_progress();
  if (vsans.empty()) {
    return;
  }
  WriteTransaction transaction = store_.write();
  for (const uint32_t vsan : vsans) {
    store_outcome(vsan, FCS_DISCOVERY_LOCAL_ONLY);
  }
  transaction.commit();
  for (const uint32_t vsan : vsans) {
    announce_outcome(vsan, FCS_DISCOVERY_LOCAL_ONLY);
  }
}

/** What ends first: the discovery or the patience with it. */
Discovery::Running Discovery::run_from_now(double takes_seconds) {
  const double timeout = store_.timeout();
  const bool times_out = takes_seconds > timeout;
  const std::chrono::duration<double> lasts(std::min(takes_seconds, timeout) / time_scale_);
  return {clock_.now() + std::chrono::ceil<std::chrono::steady_clock::duration>(lasts),
          times_out ? FCS_DISCOVERY_LOCAL_ONLY : FCS_DISCOVERY_COMPLETED};
}

FcsResult Discovery::start(uint32_t vsan) {
  const auto state = store_.find(vsan);
  if (!state) {
    return FCS_ERR_UNKNOWN_VSAN;
  }
  const Running running = run_from_now(state->takes_seconds);
  set_status(vsan, FCS_DISCOVERY_IN_PROGRESS);
  running_[vsan] = running;
  next_end_ = std::min(next_end_, running.ends);
  return FCS_OK;
}

FcsResult Discovery::set_timeout(uint32_t seconds) {
  if (seconds < FCS_MIN_DISC_TIMEOUT || seconds > FCS_MAX_DISC_TIMEOUT) {
    return FCS_ERR_BAD_VALUE;
  }
  store_.set_timeout(seconds);
  return FCS_OK;
}

FcsResult Discovery::invalidate(uint32_t vsan) {
  const auto state = store_.find(vsan);
  if (!state) {
    return FCS_ERR_UNKNOWN_VSAN;
  }
  if (state->status == FCS_DISCOVERY_IN_PROGRESS) {
    return FCS_ERR_IN_PROGRESS;
  }
  set_status(vsan, FCS_DISCOVERY_LOCAL_ONLY);
  return FCS_OK;
}

void Discovery::set_status(uint32_t vsan, FcsDiscoveryStatus status) {
  store_.set_status(vsan, status);
  commit_by_ = std::min(commit_by_, clock_.now() + kCommitInterval);
}

FcsResult Discovery::complete(uint32_t vsan) {
  return end(vsan, FCS_DISCOVERY_COMPLETED);
}

FcsResult Discovery::time_out(uint32_t vsan) {
  return end(vsan, FCS_DISCOVERY_LOCAL_ONLY);
}

FcsResult Discovery::end(uint32_t vsan, FcsDiscoveryStatus outcome) {
  if (!store_.find(vsan)) {
    return FCS_ERR_UNKNOWN_VSAN;
  }
  WriteTransaction transaction = store_.write();
  store_outcome(vsan, outcome);
  transaction.commit();
  running_.erase(vsan);
  announce_outcome(vsan, outcome);
  return FCS_OK;
}

FcsResult Discovery::reject(uint32_t vsan, const FcsRejectNotif &reject) {
  if (!store_.count_reject(vsan)) {
    return FCS_ERR_UNKNOWN_VSAN;
  }
  notifications_.push(notification(FCS_MSG_REG_REQ_REJ, reject));
  return FCS_OK;
}

FcsResult Discovery::change_address(const FcsAddressNotif &change) {
  if (!store_.find(change.vsan)) {
    return FCS_ERR_UNKNOWN_VSAN;
  }
  notifications_.push(notification(FCS_MSG_IP_ADDR_CHANGE, change));
  return FCS_OK;
}

void Discovery::run_due() {
  const auto now = clock_.now();
  if (now < next_due()) {
    return;
  }
  looked_ = now;
  next_look_ = now + kLookInterval;
  try {
    store_.check_in_place();
    if (store_.commit_statuses()) {
      clock_.sleep(kLeftToOthers);
    }
    commit_by_ = DiscoveryClock::Steady::max();
    follow_store();
    end_due();
    next_end_ = DiscoveryClock::Steady::max();
    for (const auto &[vsan, running] : running_) {
      next_end_ = std::min(next_end_, running.ends);
    }
    fault_.clear();
    next_look_ = look_after(now);
  } catch (const SqliteError &error) {
    if (fault_ != error.what()) {
      fault_ = error.what();
      log_line("discovery cannot use the store %s: %s", store_.path().c_str(), error.what());
    }
    retry_ = next_look_;
  }
}

void Discovery::store_may_have_changed() {
  told_ = clock_.now();
  next_look_ = std::min(next_look_, looked_ + kLookInterval);
}

/** The next look after one that was made now. A change is told of when it is written, but cannot be
 * seen before its writer's disk has it. */
DiscoveryClock::Steady Discovery::look_after(DiscoveryClock::Steady now) const {
  if (!is_told_of_changes_) {
    return now + kLookInterval;
  }
  const auto pause = std::max<DiscoveryClock::Steady::duration>(now - told_, kLookInterval);
  return pause > kLongestWrite ? DiscoveryClock::Steady::max() : now + pause;
}

DiscoveryClock::Steady Discovery::next_due() const {
  return std::max(std::min({next_look_, next_end_, commit_by_}), retry_);
}

/** Takes up what another program has made of the VSANs. */
void Discovery::follow_store() {
  const int64_t changes = store_.changes_of_others();
  if (changes == followed_changes_) {
    return;
  }
  std::map<uint32_t, Running> in_progress;
  for (const uint32_t vsan : store_.in_progress()) {
    const auto known = running_.find(vsan);
    const auto state = store_.find(vsan);
    in_progress[vsan] =
        known != running_.end() ? known->second : run_from_now(state ? state->takes_seconds : 0);
  }
  std::vector<std::pair<uint32_t, FcsDiscoveryStatus>> ended;
  for (const auto &[vsan, running] : running_) {
    if (!in_progress.contains(vsan)) {
      const auto state = store_.find(vsan);
      const bool completed = state && state->status == FCS_DISCOVERY_COMPLETED;
      ended.emplace_back(vsan, completed ? FCS_DISCOVERY_COMPLETED : FCS_DISCOVERY_LOCAL_ONLY);
    }
  }
  running_ = std::move(in_progress);
  followed_changes_ = changes;
  // Whoever has started them waits to hear of their end.
  for (const auto &[vsan, outcome] : ended) {
    announce_outcome(vsan, outcome);
  }
}

void Discovery::end_due() {
  const auto now = clock_.now();
  std::vector<std::pair<uint32_t, Running>> due;
  std::ranges::copy_if(running_, std::back_inserter(due),
                       [now](const auto &entry) { return entry.second.ends <= now; });
  if (due.empty()) {
    return;
  }
  std::ranges::stable_sort(due, {}, [](const auto &entry) { return entry.second.ends; });
  // All in one transaction: each durable change on its own would hold up the clients.
  WriteTransaction transaction = store_.write();
  std::erase_if(due, [this](const auto &entry) {
    // An import that has just come between is followed next time.
    const auto state = store_.find(entry.first);
    return !state || state->status != FCS_DISCOVERY_IN_PROGRESS;
  });
  for (const auto &[vsan, running] : due) {
    store_outcome(vsan, running.outcome);
  }
  transaction.commit();
  for (const auto &[vsan, running] : due) {
    running_.erase(vsan);
    announce_outcome(vsan, running.outcome);
  }
}

void Discovery::store_outcome(uint32_t vsan, FcsDiscoveryStatus outcome) {
  if (outcome == FCS_DISCOVERY_COMPLETED) {
    store_.end_completed(vsan, clock_.time_of_day());
  } else {
    store_.end_local_only(vsan);
  }
}

void Discovery::announce_outcome(uint32_t vsan, FcsDiscoveryStatus outcome) {
  const bool completed = outcome == FCS_DISCOVERY_COMPLETED;
  log_line("discovery of VSAN %u %s", vsan, completed ? "is complete" : "has timed out");
  notifications_.push(notification(completed ? FCS_MSG_DISC_COMP_ON_VSAN : FCS_MSG_TIMEOUT_ON_VSAN,
                                   FcsVsanNotif{vsan}));
}

} // namespace fcs
