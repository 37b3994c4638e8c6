#include "status_changes.h"

namespace fcs {

StatusChanges::StatusChanges(Database &database, const std::string &journal)
    : database_(database), journal_(journal),
      set_(database, "UPDATE vsan SET status = ?2 WHERE id = ?1"),
      fabric_(database, "SELECT generation FROM fabric") {
  commit();
}

/** Acts in the transaction. If that fails, the next one begins with what the journal holds. */
template <typename Act> void StatusChanges::attempt(Act act) {
  try {
    begin();
    act();
  } catch (...) {
    transaction_.reset();
    throw;
  }
}

void StatusChanges::begin() {
  if (transaction_) {
    return;
  }
  transaction_.emplace(database_);
  auto fabric = fabric_.run();
  for (const auto &[vsan, status] : journal_.begin(fabric.next() ? fabric.integer(0) : 0)) {
    set_.execute(vsan, status);
  }
}

void StatusChanges::set(uint32_t vsan, FcsDiscoveryStatus status) {
  attempt([&] {
    set_.execute(vsan, static_cast<int32_t>(status));
    database_.check_first_in_place();
    journal_.append({vsan, status});
  });
}

bool StatusChanges::commit() {
  if (!transaction_ && journal_.empty()) {
    return false;
  }
  attempt([&] {
    transaction_->commit();
    transaction_.reset();
    journal_.clear();
  });
  return true;
}

} // namespace fcs
