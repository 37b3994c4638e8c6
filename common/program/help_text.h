/**
 * How programs speak of their commands and options: help, and what is wrong with a command line.
 */
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace cli {

/**
 * Has help and errors of `app`, and of commands that it is given later, read as prose.
 * \param place what stands between the program's name and all that `app` reads.
 */
void speak_plainly(CLI::App &app, const std::string &place = "");

/** Checks that a number is one of these; help says so. */
CLI::Validator between(uint32_t low, uint32_t high);

/** Checks that a word is one of these; help says so. */
CLI::Validator one_of(const std::vector<std::string> &words);

} // namespace cli
