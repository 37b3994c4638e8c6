/** The module's writable objects, as the log calls them and as roles protect them. */
#pragma once

#include <string>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

/**
 * An instance by name, with the VSAN where its index tells: "fcsPlatformName.1.7 (VSAN 1)".
 * What is no writable object of the module is given in dotted form.
 */
std::string writable_instance_text(const oid *name, size_t length);

/**
 * Whether the user of the request being served may write an instance, as far as the module itself
 * does not ask: it does so where rows are created and destroyed, but changes a column of a row in
 * any VSAN that the user may read.
 * \return SNMP_ERR_NOERROR when so; SNMP_ERR_GENERR, with which the module refuses, when the user's
 * role keeps it from the VSAN; SNMP_ERR_NOTWRITABLE to a user with a role for what is not known as
 * a writable object.
 */
int writable_instance_status(const oid *name, size_t length);

/** Whether writing an instance leaves a row with the module until the row has been sent. */
bool writable_instance_begins_row(const oid *name, size_t length);
