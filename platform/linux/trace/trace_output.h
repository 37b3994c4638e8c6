/** Where the module's trace lines go: the event history file and Net-SNMP's debug output. */
#pragma once

/** Opens the event history of the settings in force; a failure is logged, and nothing recorded. */
void trace_output_open();
