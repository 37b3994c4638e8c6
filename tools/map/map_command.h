/**
 * What every command that draws a map has: its options, and the writing of the map.
 */
#pragma once

#include "common/program/help_text.h"
#include "fabric_model.h"
#include "map_dot.h"
#include "tools/command_line/vsan_list.h"

#include <functional>
#include <string>

namespace fabric_map {

struct MapOptions {
  cli::VsanList vsans; ///< To be drawn.
  Detail detail = Detail::kPorts;
  std::string format = "dot";
  std::string output = "-";
};

/** Adds the options to a command, and does `run` for it once they are read and agree. */
void add_map_options(CLI::App &command, MapOptions &options, const std::function<void()> &run);

/** Hands over the VSANs to be drawn, one after the other. */
using VsanSource = std::function<void(const std::function<void(const Vsan &)> &take)>;

/** Writes the map. Throws std::runtime_error when it cannot; what the source throws passes. */
void write_map(const MapOptions &options, const VsanSource &source);

} // namespace fabric_map
