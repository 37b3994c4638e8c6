#include "service/discovery_store.h"

namespace fcs {

DiscoveryStore::DiscoveryStore(FabricStore &store)
    : store_(store),
      find_(store.database(), "SELECT status, takes_seconds FROM vsan WHERE id = ?1"),
      // The second condition is what leads to the index of the VSANs that are not local-only.
      in_progress_(store.database(), "SELECT id FROM vsan WHERE status = 1 AND status <> 3"
                                     " ORDER BY id"),
      set_status_(store.database(), "UPDATE vsan SET status = ?2 WHERE id = ?1"),
      set_completed_(store.database(), "UPDATE vsan SET status = ?2, completed_seconds = ?3,"
                                       " completed_microseconds = ?4 WHERE id = ?1"),
      count_reject_(store.database(),
                    "UPDATE vsan SET rejects = (rejects + 1) & 0xFFFFFFFF WHERE id = ?1"),
      version_(store.database(), "PRAGMA data_version") {
  static_assert(FCS_DISCOVERY_IN_PROGRESS == 1 && FCS_DISCOVERY_LOCAL_ONLY == 3);
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

void DiscoveryStore::set_status(uint32_t vsan, FcsDiscoveryStatus status) {
  set_status_.execute(vsan, static_cast<int32_t>(status));
}

void DiscoveryStore::set_completed(uint32_t vsan, std::chrono::system_clock::time_point when) {
  using std::chrono::microseconds;
  using std::chrono::seconds;
  const auto since_epoch = when.time_since_epoch();
  const auto whole = std::chrono::floor<seconds>(since_epoch);
  const auto rest = std::chrono::floor<microseconds>(since_epoch - whole);
  set_completed_.execute(vsan, static_cast<int32_t>(FCS_DISCOVERY_COMPLETED),
                         int64_t{whole.count()}, int64_t{rest.count()});
}

bool DiscoveryStore::count_reject(uint32_t vsan) {
  return count_reject_.change(vsan) != 0;
}

uint32_t DiscoveryStore::version() {
  auto rows = version_.run();
  return rows.next() ? rows.word(0) : 0;
}

} // namespace fcs
