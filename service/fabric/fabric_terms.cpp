#include "fabric_terms.h"

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <algorithm>

namespace fcs {

namespace {

constexpr Term kDiscoveryStatusTable[] = {{"inProgress", FCS_DISCOVERY_IN_PROGRESS},
                                          {"completed", FCS_DISCOVERY_COMPLETED},
                                          {"localOnly", FCS_DISCOVERY_LOCAL_ONLY}};
constexpr Term kElementTypeTable[] = {{"unknown", 0}, {"switch", 1}, {"hub", 2}, {"bridge", 3}};
constexpr Term kPortTypeTable[] = {{"unidentified", 0x00}, {"N_Port", 0x01}, {"NL_Port", 0x02},
                                   {"Nx_Port", 0x7F},      {"F_Port", 0x81}, {"FL_Port", 0x82},
                                   {"E_Port", 0x84},       {"B_Port", 0x85}};
constexpr Term kPortStateTable[] = {
    {"unknown", 0}, {"online", 1}, {"offline", 2}, {"testing", 3}, {"fault", 4}};
constexpr Term kPlatformTypeTable[] = {{"unknown", 1},
                                       {"other", 2},
                                       {"gateway", 5},
                                       {"converter", 6},
                                       {"hba", 7},
                                       {"proxyAgent", 8},
                                       {"storageDevice", 9},
                                       {"host", 10},
                                       {"storageSubsystem", 11},
                                       {"module", 12},
                                       {"softwareDriver", 13},
                                       {"storageAccessDevice", 14}};

} // namespace

const Terms kDiscoveryStatuses = kDiscoveryStatusTable;
const Terms kElementTypes = kElementTypeTable;
const Terms kPortTypes = kPortTypeTable;
const Terms kPortStates = kPortStateTable;
const Terms kPlatformTypes = kPlatformTypeTable;

std::optional<uint32_t> code_of(Terms terms, std::string_view word) {
  const auto found = std::ranges::find(terms, word, &Term::word);
  return found == terms.end() ? std::nullopt : std::optional(found->code);
}

std::optional<std::string_view> word_of(Terms terms, uint32_t code) {
  const auto found = std::ranges::find(terms, code, &Term::code);
  return found == terms.end() ? std::nullopt : std::optional(found->word);
}

std::string list_words(Terms terms) {
  std::string list;
  for (const Term &term : terms) {
    list += list.empty() ? "" : ", ";
    list += term.word;
  }
  return list;
}

} // namespace fcs
