// SPDX-License-Identifier: BSD-3-Clause
/** Texts of the platform's error codes. */
#pragma once

#include <cstdint>

/**
 * The text of an error code that a platform call returned.
 * \return a text that stays valid; of an unknown code, one that says so.
 */
const char *errno_text(int32_t code);
