/** The agent host's place in front of the module's registrations. */
#pragma once

/**
 * Puts the agent host in front of every registration of the module, once each.
 * \param before Called before each request is served.
 */
void intercept_requests(void (*before)());

/**
 * Takes every registration of the module down. The agent registers each variable by itself, so that
 * unregister_mib with the module root leaves them in place.
 */
void release_registrations();
