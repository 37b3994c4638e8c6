// SPDX-License-Identifier: BSD-3-Clause
/** What the write handlers share with the read side of the tables that managers can write to. */
#pragma once

#include <cstdint>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

// Store the write handler of a writable column into *write_method; leave it alone for others.
void set_mgmt_addr_table_set_methods(u_char magic, WriteMethod **write_method);
void set_platform_table_set_methods(u_char magic, WriteMethod **write_method);
void set_node_name_table_set_methods(u_char magic, WriteMethod **write_method);

/** Maps the service's platform type to the value of fcsPlatformType, in place; 0, 3, 4 and what
 * lies above 14 have no value and stay as they are. */
void fcs_map_platform_type(uint32_t *type);

/** The inverse of fcs_map_platform_type on 1 to 12; other values stay as they are. */
void fcs_reverse_map_platform_type(uint32_t *type);
