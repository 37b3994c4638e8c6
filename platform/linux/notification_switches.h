/**
 * The switches of the SNMP notifications. They are kept in Net-SNMP's persistent store, and survive
 * a restart of the agent and a reload of the module.
 */
#pragma once

/** Registers the store's token and the writing of it. */
void notification_switches_register();

/** Takes both out again; the store keeps what was last written. */
void notification_switches_unregister();
