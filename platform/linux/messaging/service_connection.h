/** The agent's two connections to the FCS service: one for exchanges, one for its notifications. */
#pragma once

/** Connects both with the settings in force, and waits a moment for a service that is there. */
void service_connection_open();

/** Closes both. */
void service_connection_close();
