/** The contexts that the module is registered in, and what a context needs besides. */
#pragma once

#include <string>
#include <vector>

/** Has the module registered in these contexts, each with the whole MIB; an empty one is the
 * default. To be called before module_host_start. */
void register_module_in(const std::vector<std::string> &contexts);

/**
 * Answers for sysUpTime.0 in those of the contexts that are not the default one. The times in the
 * MIB are of this process, which may be younger than the master.
 */
void register_uptime();
