/**
 * What the agent's end, the service and its tools go by when nobody says otherwise.
 */
#pragma once

#include <chrono>

namespace fcs {

constexpr char kDefaultSocket[] = "/run/fcsd/fcsd.sock";
constexpr char kDefaultStore[] = "/var/lib/fcsd/fabric.db";
constexpr char kDefaultHistory[] = FCS_HISTORY_FILE;

/** How long the agent waits for an answer of the service. */
constexpr std::chrono::milliseconds kDefaultExchangeTimeout{200};

} // namespace fcs
