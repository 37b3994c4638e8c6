/** The steps of transcripts about the event history. */
#pragma once

#include <functional>
#include <istream>
#include <map>
#include <string>

using StepTable = std::map<std::string, std::function<void()>>;

/** What the steps do, by their first words. \param words The others, of the step being taken. */
StepTable history_steps(std::istream &words);
