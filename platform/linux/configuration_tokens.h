/** What snmpd.conf says about the module: the tokens, and how their lines are read. */
#pragma once

#include <string>

/** Registers the tokens with the agent's configuration. */
void configuration_tokens_register();

/** Takes the tokens out again and forgets what they said. */
void configuration_tokens_unregister();

/**
 * Reads a file that holds these tokens alone, in place of what they have said before. What is wrong
 * with a line is logged with file and line.
 * \throws std::runtime_error when the file cannot be read; everything is then as it was.
 */
void configuration_tokens_read_file(const std::string &path);

/**
 * Reads the module's own lines out of the agent's configuration files. For a module that is loaded
 * while the agent runs: nothing else makes the agent read them, and without them its roles would be
 * missing. Net-SNMP's reader has one limit: behind a `[snmpd]` section header the agent's own lines
 * are taken again, too.
 */
void configuration_tokens_read();
