/**
 * Conditions on rows, as state=offline on the command line.
 */
#pragma once

#include "cell.h"

#include <string>

namespace snmpfcs {

/** What a column has to hold: =, != and ~ (contains), regardless of case, or numbers with < and >.
 */
struct Condition {
  std::string key;
  std::string sign;
  std::string wanted;

  /** Of a list, one item is enough. */
  bool holds(const Cell &cell) const;
};

/** \throws std::invalid_argument saying how a condition is written. */
Condition read_condition(const std::string &text);

} // namespace snmpfcs
