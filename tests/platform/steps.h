/** The steps of the transcripts. */
#pragma once

#include <functional>
#include <string>
#include <vector>

/** Takes a step. \return what has come of it. */
using Stage = std::function<std::vector<std::string>(const std::string &step)>;

/** An agent, the FCS service's ends of its connections, and what takes the module's place. */
Stage new_stage();

/** A text with another in the place of a part. */
std::string with(std::string text, const std::string &part, const std::string &other);
