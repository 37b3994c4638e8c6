/**
 * The counters of a VSAN.
 */
#pragma once

#include <string_view>

namespace snmpfcs {

/** An object by the key that it has in a report. */
struct ShownObject {
  std::string_view key;
  std::string_view object;
};

inline constexpr ShownObject kCounters[] = {
    {"rxGetReqs", "fcsRxGetReqs"},     {"txGetReqs", "fcsTxGetReqs"},
    {"rxRegReqs", "fcsRxRegReqs"},     {"txRegReqs", "fcsTxRegReqs"},
    {"rxDeregReqs", "fcsRxDeregReqs"}, {"txDeregReqs", "fcsTxDeregReqs"},
    {"txRscns", "fcsTxRscns"},         {"rxRscns", "fcsRxRscns"},
    {"rejects", "fcsRejects"}};

} // namespace snmpfcs
