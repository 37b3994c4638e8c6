/**
 * The agent host's place in front of the module's registrations, where a request shows whom it is
 * from.
 */
#pragma once

/** Puts the agent host in front of every registration of the module, once each. */
void agent_request_intercept();

/**
 * Takes every registration of the module down. The agent registers each variable by itself, so that
 * unregister_mib with the module root leaves them in place.
 */
void agent_request_release();
