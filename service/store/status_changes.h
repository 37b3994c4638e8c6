/**
 * Changes of discovery statuses: many of them share one transaction.
 *
 * A status has to survive a killed service, but no power cut, and thousands change within one
 * request of a manager's. Each is acknowledged once it stands in a journal; all of them are
 * committed together a moment later, and taken up from the journal if the service is killed before,
 * or the transaction fails.
 */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "sqlite.h"
#include "status_journal.h"

#include <optional>
#include <string>

namespace fcs {

/**
 * Until the commit nobody else can write to the database, and reads of the same connection see the
 * changes. The functions throw SqliteError; what was acknowledged is not lost then.
 */
class StatusChanges {
public:
  /** Takes up what a killed service has left. */
  StatusChanges(Database &database, const std::string &journal);

  /** A change that is acknowledged when this returns, and not made when it throws. */
  void set(uint32_t vsan, FcsDiscoveryStatus status);
  /** Commits all changes; false when there were none. A failed commit can be tried again. */
  bool commit();

private:
  void begin();
  template <typename Act> void attempt(Act act);

  Database &database_;
  StatusJournal journal_;
  Statement set_, fabric_;
  std::optional<WriteTransaction> transaction_;
};

} // namespace fcs
