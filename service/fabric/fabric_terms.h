/**
 * The words that a fabric description uses for codes, and the codes that the store holds for them.
 */
#pragma once

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

extern const Terms kDiscoveryStatuses;
/** FC-GS interconnect element types. */
extern const Terms kElementTypes;
/** FC-GS port types. */
extern const Terms kPortTypes;
/** FC-GS port states. */
extern const Terms kPortStates;
/** FC-GS platform types. */
extern const Terms kPlatformTypes;

/** The code of a word, or the word of a code; nothing if there is none. */
std::optional<uint32_t> code_of(Terms terms, std::string_view word);
std::optional<std::string_view> word_of(Terms terms, uint32_t code);

/** All words, separated by commas. */
std::string list_words(Terms terms);

} // namespace fcs
