// SPDX-License-Identifier: BSD-3-Clause
/** The FCS service's discovery, VSAN by VSAN. */
#pragma once

#include <cstdint>

/**
 * Asks the service for the discovery status of a VSAN.
 * \param status Receives it (FcsDiscoveryStatus) on success.
 * \return false when the exchange failed; fcs_req_status then tells why.
 */
bool fcs_discovery_status_of(uint32_t vsan, int32_t *status);

/**
 * Sends the service a message of its own, without a response.
 * \param opcode FcsMessage.
 * \param flag   The message's request flag.
 * \return 0 on success, otherwise the result of ipc_req_resp.
 */
int32_t fcs_send_message(uint32_t opcode, uint32_t flag, const void *payload, uint32_t length);

/** Starts discovery on a VSAN. \return 0 on success, otherwise the result of ipc_req_resp. */
int32_t fcs_start_discovery_on_vsan(uint32_t vsan);

/**
 * Has the service forget what discovery found on a VSAN, unless one is in progress there.
 * \return 0 on success, 2 when a discovery is in progress, fcs_req_status when the status could not
 * be read, otherwise the result of ipc_req_resp.
 */
int32_t fcs_invalidate_cache_on_vsan(uint32_t vsan);

// Drop the VSANs from the outstanding ones of a half that the service has at local-only by now.
void fcs_reset_disc_bitmap2k();
void fcs_reset_disc_bitmap4k();
