#include "service_settings.h"

namespace fcs {

ServiceSettings::Statements::Statements(Database &database, const std::string &column)
    : get(database, "SELECT " + column + " FROM settings"),
      set(database, "UPDATE settings SET " + column + " = ?1") {}

ServiceSettings::ServiceSettings(Database &database)
    : statements_{{{database, "discovery_timeout"},
                   {database, "reject_notifications"},
                   {database, "complete_notifications"}}} {}

uint32_t ServiceSettings::get(Setting setting) {
  auto rows = statements_[static_cast<size_t>(setting)].get.run();
  return rows.next() ? rows.word(0) : 0;
}

void ServiceSettings::set(Setting setting, uint32_t value) {
  statements_[static_cast<size_t>(setting)].set.execute(value);
}

} // namespace fcs
