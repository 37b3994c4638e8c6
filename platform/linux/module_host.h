/** The module in this process, whatever hosts it: Net-SNMP's snmpd or a process of its own. */
#pragma once

/**
 * Registers the module's variables and its notification handlers with the agent library, under the
 * agent host's control.
 * \param before Called before each request is served.
 */
void module_host_start(void (*before)());

/** Takes all of that out again: nothing of the module or of its platform is left with the agent. */
void module_host_stop();

/** Opens the event history and the connections to the service, with the settings in force. */
void module_host_connect();
