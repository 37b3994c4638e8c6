/**
 * The switches of the SNMP notifications. They are kept in Net-SNMP's persistent store, and survive
 * a restart of the agent and a reload of the module. What a request has changed is stored behind
 * it, once, in the same turn of the agent's loop.
 */
#pragma once

#include <cstdint>

/** Registers the store's token and the writing of it. */
void notification_switches_register();

/** Stores what has not been stored yet, and takes both out again. */
void notification_switches_unregister();

/** Whether the notification of this message is wanted; one without a switch of its own always is.
 */
bool notification_is_switched_on(uint32_t opcode);
