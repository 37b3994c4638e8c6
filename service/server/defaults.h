/**
 * Where the service and its tools look when no option says otherwise.
 */
#pragma once

namespace fcs {

constexpr char kDefaultSocket[] = "/run/fcsd/fcsd.sock";
constexpr char kDefaultStore[] = "/var/lib/fcsd/fabric.db";

} // namespace fcs
