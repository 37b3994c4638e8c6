/**
 * What the service may do as a process.
 */
#pragma once

namespace fcs {

/**
 * Gives up all capabilities for good (capabilities(7)): started by root, the service may then touch
 * no more than what root owns. Whoever starts it as a user of its own loses nothing. Throws
 * std::system_error.
 */
void give_up_privileges();

} // namespace fcs
