/**
 * The subcommands of fcsctl. Each adds itself to the command line; when it was chosen, `run` does
 * its work and throws std::runtime_error, whose text is all that the user gets to see.
 */
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace fcsctl {

/** Where everything is. */
struct Places {
  std::string socket;
  std::string store;
  std::string history;
};

/** A subcommand, as add_... describes it: what its options fill has to live as long as `app`. */
void add_import(CLI::App &app, const Places &places);
void add_export(CLI::App &app, const Places &places);
void add_generate(CLI::App &app, const Places &places);
void add_map(CLI::App &app, const Places &places);
void add_status(CLI::App &app, const Places &places);
void add_event(CLI::App &app, const Places &places);
void add_watch(CLI::App &app, const Places &places);
void add_history(CLI::App &app, const Places &places);

} // namespace fcsctl
