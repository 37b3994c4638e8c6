// SPDX-License-Identifier: BSD-3-Clause
/** The codes of ports, as FC-GS states them, and what managers are told. All work in place. */
#pragma once

#include <cstdint>

/** Maps a port type to the value of fcsPortType; one without a value of its own stays as it is. */
void fcs_map_port_type(uint32_t *type);

/** Maps a port state to the value of fcsPortState. */
void fcs_map_port_state(uint32_t *state);

/** Leaves every transmitter type as it is: fcsPortTxType deliberately shows the raw code. */
void fcs_map_port_tx_type(uint32_t *type);
