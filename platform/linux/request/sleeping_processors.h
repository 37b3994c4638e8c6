/** Whether the machine has more processors than work. */
#pragma once

/**
 * Whether the machine's processors have slept of late for half of the time of one, or more. Waking
 * one up takes longer than an exchange with the service.
 * \return As of at most a tenth of a second ago; false where the system does not tell, or keeps the
 * agent to some of the processors.
 */
bool processors_sleep();
