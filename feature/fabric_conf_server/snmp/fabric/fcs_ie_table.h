// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>

/** Maps an interconnect element type (FC-GS) to the value of fcsIeType, in place. */
void fcs_map_ie_type(uint32_t *type);
