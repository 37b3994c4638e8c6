/**
 * The counters of a VSAN.
 */
#pragma once

#include <string_view>

namespace snmpfcs {

struct Counter {
  std::string_view key;
  std::string_view object;
};

inline constexpr Counter kCounters[] = {
    {"rxGetReqs", "fcsRxGetReqs"},     {"txGetReqs", "fcsTxGetReqs"},
    {"rxRegReqs", "fcsRxRegReqs"},     {"txRegReqs", "fcsTxRegReqs"},
    {"rxDeregReqs", "fcsRxDeregReqs"}, {"txDeregReqs", "fcsTxDeregReqs"},
    {"txRscns", "fcsTxRscns"},         {"rxRscns", "fcsRxRscns"},
    {"rejects", "fcsRejects"}};

} // namespace snmpfcs
