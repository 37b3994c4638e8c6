#include "command_line/working_directory.h"
#include "fcsctl.h"
#include "map/map_command.h"
#include "map_source.h"
#include "open_store.h"
#include "service/description/fabric_json.h"
#include "service/store/fabric_reader.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace fcsctl {

namespace {

struct Options : fabric_map::MapOptions {
  std::string file;
};

/** A store of its own for a description, which is judged as an import judges it. */
fcs::FabricStore store_of_description(const std::string &file,
                                      const cli::WorkingDirectory &directory) {
  fcs::FabricStore store(directory.path("fabric.db"), kBusyWait);
  if (file == "-") {
    fcs::import_fabric(store, std::cin, "standard input");
  } else {
    fcs::import_fabric_file(store, file);
  }
  return store;
}

/** The VSANs to draw; each one and each range that was asked for has to be there. */
std::vector<fcs::Vsan> choose_vsans(fcs::FabricSource &fabric, const cli::VsanList &wanted) {
  std::vector<fcs::Vsan> chosen;
  fabric.vsans([&](const fcs::Vsan &vsan) {
    if (wanted.has(vsan.discovery.vsan)) {
      chosen.push_back(vsan);
    }
  });
  for (const fcs::VsanRange &range : wanted.ranges()) {
    if (std::ranges::none_of(chosen, [&range](const fcs::Vsan &vsan) {
          return range.contains(vsan.discovery.vsan);
        })) {
      throw std::runtime_error("the fabric has no VSAN " + to_text(range));
    }
  }
  return chosen;
}

void map_fabric(const Options &options, const std::string &store_path) {
  const cli::WorkingDirectory directory;
  fcs::FabricStore store = options.file.empty() ? open_fabric(store_path)
                                                : store_of_description(options.file, directory);
  try {
    fcs::FabricReader fabric(store);
    const std::vector<fcs::Vsan> vsans = choose_vsans(fabric, options.vsans);
    fabric_map::write_map(options, [&](const auto &take) {
      std::ranges::for_each(vsans,
                            [&](const fcs::Vsan &vsan) { take(read_for_map(fabric, vsan)); });
    });
  } catch (const fcs::SqliteError &error) {
    throw std::runtime_error("cannot read the store " + store.path() + ": " + error.what());
  }
}

} // namespace

void add_map(CLI::App &app, const Places &places) {
  CLI::App *command = app.add_subcommand("map", "Draw the fabric");
  const auto options = std::make_shared<Options>();
  command->add_option("FILE", options->file,
                      "Fabric description to draw instead of the store's fabric; - for standard "
                      "input");
  fabric_map::add_map_options(*command, *options,
                              [options, &places] { map_fabric(*options, places.store); });
}

} // namespace fcsctl
