/**
 * The roles of snmpd.conf: which VSANs a user may read and write. Without any role line there is no
 * restriction; with one, valid or not, a user without a role sees no VSAN.
 */
#pragma once

#include "platform/bitmap.h"

#include <string>

/** Highest VSAN that a role can name. */
constexpr uint32_t kLastRoleVsan = VSAN_WHOLE_BYTES * 8 - 1;

/**
 * Takes the rest of an `fcsRole NAME READ-LIST WRITE-LIST` line. A list is `all`, `none`, or VSANs
 * and ranges such as `1-100,2100`. A line with a fault leaves its role without any VSAN, and so
 * does a second line for the same role.
 * \return what is wrong with the line; empty when nothing is.
 */
std::string roles_define(const char *arguments);

/**
 * Takes the rest of an `fcsRoleUser SECURITY-NAME ROLE` line; the role is defined above it. A
 * second line for the same user leaves the user without a role.
 * \return what is wrong with the line; empty when nothing is.
 */
std::string roles_assign(const char *arguments);

/** Whether there is a role line, valid or not. */
bool roles_are_configured();

/** Whether a line gives this user a role. */
bool roles_know(const std::string &user);

/** Forgets all roles. */
void roles_reset();
