/** What the role of the user being served means for the rows that travel. */
#pragma once

#include "common/wire/shown_vsans.h"

#include <cstdint>

/** The VSANs that the user may read, from this one on; all, if the user is not restricted. */
ipc_wire::ShownVsans shown_vsans(uint32_t from);
