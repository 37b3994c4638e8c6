/**
 * The statistics of a VSAN by the names that a fabric description gives them.
 */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <array>
#include <string_view>

namespace fcs {

/** Members of "statistics", and the word of the record that each stands for. */
constexpr std::array<std::string_view, 9> kCounterMembers = {
    "rxGetReqs",   "txGetReqs", "rxRegReqs", "rxDeregReqs", "txRegReqs",
    "txDeregReqs", "rxRscns",   "txRscns",   "rejects"};
constexpr std::array<uint32_t FcsStatsRecord::*, 9> kCounterWords = {
    &FcsStatsRecord::rx_get_reqs,   &FcsStatsRecord::tx_get_reqs, &FcsStatsRecord::rx_reg_reqs,
    &FcsStatsRecord::rx_dereg_reqs, &FcsStatsRecord::tx_reg_reqs, &FcsStatsRecord::tx_dereg_reqs,
    &FcsStatsRecord::rx_rscns,      &FcsStatsRecord::tx_rscns,    &FcsStatsRecord::rejects};

} // namespace fcs
