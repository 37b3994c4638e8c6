// SPDX-License-Identifier: BSD-3-Clause
/**
 * Messaging service: synchronous request and response between the module and a service of the
 * platform. Called on the agent's request thread only.
 */
#pragma once

#include <cstdint>

/** Longest request or response, in octets. No response handed to the module is longer. */
constexpr uint32_t IPC_MESSAGE_ROOM = 1024;

/** A message that a service sent by itself; its contents belong to the messaging service. */
struct IpcMessage;

/**
 * The payload of a message: IPC_MESSAGE_ROOM octets; those behind the payload's end are zero.
 */
const void *ipc_payload_get(const IpcMessage *message);

/** A messaging address. */
struct IpcAddress {
  uint8_t octets[8];
};

/** Of the module's own notifications. */
inline constexpr IpcAddress IPC_OWN_NOTIFICATIONS = {{0xFE}};

/** Handle of the queue on which the module's responses arrive. */
extern const uint32_t ipc_response_queue;

/**
 * Sends a request to a service and waits for its response.
 *
 * \param opcode   Message opcode.
 * \param flag     Request flag, passed to the service as it is.
 * \param request  `*length` octets, at most IPC_MESSAGE_ROOM.
 * \param response Where to store the response, a heap buffer that the caller releases with free();
 *                 null when the caller wants no response. Untouched on failure.
 * \param length   In: octets of the request. Out, on success: octets of the response.
 * \param user     User name of the SNMP request being served.
 * \param session  Session id of the SNMP request being served.
 * \param service  Service id.
 * \param queue    ipc_response_queue.
 * \param reserved 0.
 * \return 0 on success; -1 when the exchange itself failed, with errno telling why; otherwise the
 *         error code that the service answered. No code is a multiple of 256: callers may keep its
 *         low octet only. The call must return within a bounded time whatever the service does.
 */
int32_t ipc_req_resp(uint32_t opcode, uint32_t flag, const void *request, void **response,
                     uint32_t *length, const char *user, uint32_t session, uint32_t service,
                     uint32_t queue, uint32_t reserved);

/**
 * Sends a message without waiting for a response.
 *
 * \param queue       ipc_response_queue.
 * \param destination IPC_OWN_NOTIFICATIONS: the module's own notifications. Such a message reaches
 *                    the handler of its opcode later, never during the call.
 * \param opcode      Message opcode.
 * \param payload     `length` octets, at most IPC_MESSAGE_ROOM.
 * \return 0 on success.
 */
int32_t ipc_send(uint32_t queue, const IpcAddress *destination, uint32_t opcode,
                 const void *payload, uint32_t length, uint32_t reserved1, uint32_t reserved2,
                 uint32_t reserved3);
