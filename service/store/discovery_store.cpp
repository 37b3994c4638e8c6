#include "discovery_store.h"

namespace fcs {

DiscoveryStore::DiscoveryStore(FabricStore &store)
    : store_(store),
      find_(store.database(), "SELECT status, takes_seconds FROM vsan WHERE id = ?1"),
      // The second condition is what leads to the index of the VSANs that are not local-only.
      in_progress_(store.database(), "SELECT id FROM vsan WHERE status = 1 AND status <> 3"
                                     " ORDER BY id"),
      end_local_only_(store.database(), "UPDATE vsan SET status = 3 WHERE id = ?1"),
      end_completed_(store.database(), "UPDATE vsan SET status = 2, completed_seconds = ?2,"
                                       " completed_microseconds = ?3 WHERE id = ?1"),
      count_reject_(store.database(),
                    "UPDATE vsan SET rejects = (rejects + 1) & 0xFFFFFFFF WHERE id = ?1") {
  static_assert(FCS_DISCOVERY_IN_PROGRESS == 1 && FCS_DISCOVERY_COMPLETED == 2 &&
                FCS_DISCOVERY_LOCAL_ONLY == 3);
  store.status_changes(); // What a killed service has left is taken up before anything else.
}

std::optional<DiscoveryStore::State> DiscoveryStore::find(uint32_t vsan) {
  auto rows = find_.run(vsan);
  if (!rows.next()) {
    return std::nullopt;
  }
  return State{static_cast<int32_t>(rows.integer(0)), rows.real(1)};
}

std::vector<uint32_t> DiscoveryStore::in_progress() {
  std::vector<uint32_t> vsans;
  auto rows = in_progress_.run();
  while (rows.next()) {
    vsans.push_back(rows.word(0));
  }
  return vsans;
}

void DiscoveryStore::end_local_only(uint32_t vsan) {
  end_local_only_.execute(vsan);
}

void DiscoveryStore::end_completed(uint32_t vsan, std::chrono::system_clock::time_point when) {
  using std::chrono::microseconds;
  using std::chrono::seconds;
  const auto since_epoch = when.time_since_epoch();
  const auto whole = std::chrono::floor<seconds>(since_epoch);
  const auto rest = std::chrono::floor<microseconds>(since_epoch - whole);
  end_completed_.execute(vsan, int64_t{whole.count()}, int64_t{rest.count()});
}

bool DiscoveryStore::count_reject(uint32_t vsan) {
  WriteTransaction transaction = write();
  const bool counted = count_reject_.change(vsan) != 0;
  transaction.commit();
  return counted;
}

void DiscoveryStore::set_timeout(uint32_t seconds) {
  WriteTransaction transaction = write();
  store_.settings().set(Setting::kDiscoveryTimeout, seconds);
  transaction.commit();
}

} // namespace fcs
