/**
 * Opening of the store by subcommands.
 */
#pragma once

#include "service/store/fabric_store.h"

#include <chrono>
#include <string>

namespace fcsctl {

/** How long a subcommand waits for another program's write to the store. */
constexpr std::chrono::seconds kBusyWait{10};

/** Opens a store to read it that is there and holds a fabric; throws std::runtime_error if it does
 * not. */
fcs::FabricStore open_fabric(const std::string &path);

} // namespace fcsctl
