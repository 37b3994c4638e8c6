/**
 * The codes that the store holds, and the words that fabric descriptions and maps use for them.
 * All but the status of a discovery are those of FC-GS.
 */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace fcs {

/** A word and its code. */
struct Term {
  std::string_view word;
  uint32_t code;
};

using Terms = std::span<const Term>;

inline constexpr auto kDiscoveryStatuses =
    std::to_array<Term>({{"inProgress", FCS_DISCOVERY_IN_PROGRESS},
                         {"completed", FCS_DISCOVERY_COMPLETED},
                         {"localOnly", FCS_DISCOVERY_LOCAL_ONLY}});
inline constexpr auto kElementTypes =
    std::to_array<Term>({{"unknown", 0}, {"switch", 1}, {"hub", 2}, {"bridge", 3}});
inline constexpr auto kPortTypes = std::to_array<Term>({{"unidentified", 0x00},
                                                        {"N_Port", 0x01},
                                                        {"NL_Port", 0x02},
                                                        {"Nx_Port", 0x7F},
                                                        {"F_Port", 0x81},
                                                        {"FL_Port", 0x82},
                                                        {"E_Port", 0x84},
                                                        {"B_Port", 0x85}});
inline constexpr auto kPortStates = std::to_array<Term>(
    {{"unknown", 0}, {"online", 1}, {"offline", 2}, {"testing", 3}, {"fault", 4}});
inline constexpr auto kPlatformTypes = std::to_array<Term>({{"unknown", 1},
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
                                                            {"storageAccessDevice", 14}});

/** The code of a word, or the word of a code; nothing if there is none. */
constexpr std::optional<uint32_t> code_of(Terms terms, std::string_view word) {
  const auto found = std::ranges::find(terms, word, &Term::word);
  return found == terms.end() ? std::nullopt : std::optional(found->code);
}
constexpr std::optional<std::string_view> word_of(Terms terms, uint32_t code) {
  const auto found = std::ranges::find(terms, code, &Term::code);
  return found == terms.end() ? std::nullopt : std::optional(found->word);
}

/** The code of a word that stands in the program; a word that has none does not compile. */
consteval uint32_t code(Terms terms, std::string_view word) {
  return code_of(terms, word).value();
}

/** All words, separated by commas. */
inline std::string list_words(Terms terms) {
  std::string list;
  for (const Term &term : terms) {
    list += list.empty() ? "" : ", ";
    list += term.word;
  }
  return list;
}

} // namespace fcs
