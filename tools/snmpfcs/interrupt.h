/**
 * Whether the user wants to stop.
 */
#pragma once

#include <chrono>

namespace snmpfcs {

/** From now on the first interrupt is noted, and the second one ends the program. */
void note_interrupts();
bool is_interrupted();

/** Waits, unless interrupted. */
void wait(std::chrono::milliseconds time);

} // namespace snmpfcs
