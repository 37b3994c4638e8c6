/**
 * Requests to the running service on a control connection.
 */
#pragma once

#include "service/protocol/fcs_control.h"

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace fcsctl {

/**
 * Sends one request to the service at `socket` and waits for its answer, two seconds at most.
 * \return the answer's payload.
 * Throws std::runtime_error naming the socket and what is wrong: no service there, not allowed,
 * refused, no answer, or the request failed.
 */
std::string control_request(const std::string &socket, FcsControlMessage opcode,
                            std::string_view payload = {});

/** How the service is doing, as FCS_CTL_STATUS says; throws the same. */
nlohmann::ordered_json service_status(const std::string &socket);

} // namespace fcsctl
