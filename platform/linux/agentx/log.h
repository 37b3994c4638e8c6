/** The log of a subagent: what the agent library says, each line with its time. */
#pragma once

/** Takes the agent library's messages from here on to what is standard error now. */
void subagent_log_open();

/** How many objects the master has refused to take since this was asked last. */
int subagent_log_take_refusals();
