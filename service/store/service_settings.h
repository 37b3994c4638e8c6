/**
 * What the service is told to do and keeps over restarts and imports of a fabric.
 */
#pragma once

#include "sqlite.h"

#include <array>
#include <cstdint>

namespace fcs {

enum class Setting {
  kDiscoveryTimeout,      ///< Seconds.
  kRejectNotifications,   ///< 1 when notifications of rejects are wanted, else 0.
  kCompleteNotifications, ///< The same for completed discoveries.
};

/** The functions throw SqliteError when the database fails. */
class ServiceSettings {
public:
  explicit ServiceSettings(Database &database);

  uint32_t get(Setting setting);
  /** Durable when it returns, or with the transaction that is open. */
  void set(Setting setting, uint32_t value);

private:
  struct Statements {
    Statements(Database &database, const std::string &column);
    Statement get, set;
  };
  std::array<Statements, 3> statements_; ///< By Setting.
};

} // namespace fcs
