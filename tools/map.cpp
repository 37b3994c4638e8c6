#include "command_line/output.h"
#include "command_line/vsan_list.h"
#include "command_line/working_directory.h"
#include "common/program/help_text.h"
#include "fcsctl.h"
#include "map/dot_program.h"
#include "map/map_dot.h"
#include "map/map_page.h"
#include "map_source.h"
#include "open_store.h"
#include "service/description/fabric_json.h"
#include "service/store/fabric_reader.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace fcsctl {

namespace {

struct Options {
  std::string file;
  cli::VsanList vsans;
  fabric_map::Detail detail = fabric_map::Detail::kPorts;
  std::string format = "dot";
  std::string output = "-";
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

std::string range_text(const cli::VsanRange &range) {
  return std::to_string(range.first) +
         (range.first == range.last ? "" : " to " + std::to_string(range.last));
}

/** The VSANs to draw; each one and each range that was asked for has to be there. */
std::vector<fcs::Vsan> choose_vsans(fcs::FabricSource &fabric, const cli::VsanList &wanted) {
  std::vector<fcs::Vsan> chosen;
  fabric.vsans([&](const fcs::Vsan &vsan) {
    if (wanted.has(vsan.discovery.vsan)) {
      chosen.push_back(vsan);
    }
  });
  for (const cli::VsanRange &range : wanted.ranges()) {
    if (std::ranges::none_of(chosen, [&range](const fcs::Vsan &vsan) {
          return range.contains(vsan.discovery.vsan);
        })) {
      throw std::runtime_error("the fabric has no VSAN " + range_text(range));
    }
  }
  return chosen;
}

/** Has a writer of maps write the VSANs. */
template <typename Writer>
void write_map(Writer writer, fcs::FabricSource &fabric, const std::vector<fcs::Vsan> &vsans) {
  for (const fcs::Vsan &vsan : vsans) {
    writer.add(read_for_map(fabric, vsan));
  }
  writer.finish();
}

void draw(fcs::FabricSource &fabric, const Options &options,
          const cli::WorkingDirectory &directory) {
  const std::vector<fcs::Vsan> vsans = choose_vsans(fabric, options.vsans);
  if (options.format == "html") {
    cli::write_output(options.output, [&](std::ostream &out) {
      write_map(fabric_map::PageWriter(out), fabric, vsans);
    });
    return;
  }
  const auto write_graph = [&](std::ostream &out) {
    write_map(fabric_map::DotWriter(out, options.detail), fabric, vsans);
  };
  if (options.format == "dot") {
    cli::write_output(options.output, write_graph);
    return;
  }
  const std::string graph = directory.path("fabric.dot");
  cli::write_output(graph, write_graph);
  cli::write_output(options.output,
                    [&](std::ostream &out) { fabric_map::run_dot(graph, options.format, out); });
}

void map_fabric(const Options &options, const std::string &store_path) {
  const cli::WorkingDirectory directory;
  fcs::FabricStore store = options.file.empty() ? open_fabric(store_path)
                                                : store_of_description(options.file, directory);
  try {
    fcs::FabricReader reader(store);
    draw(reader, options, directory);
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
  cli::add_vsan_option(*command, options->vsans, "Only these VSANs, such as 1-100,2100");
  command->add_flag_callback(
      "--summary", [options] { options->detail = fabric_map::Detail::kSummary; },
      "Only the elements of each VSAN, with their links bundled");
  command
      ->add_option("--format", options->format,
                   "What to write: a graph, a drawing of it, or a page for a browser")
      ->check(cli::one_of({"dot", "svg", "html"}))
      ->type_name("FORMAT");
  command->add_option("--output", options->output, "File to write; - for standard output")
      ->type_name("PATH");
  command->callback([options, &places] {
    if (options->format == "html" && options->detail == fabric_map::Detail::kSummary) {
      throw CLI::ValidationError("--summary", "not with --format html: a page shows the links "
                                              "bundled, and ports when they are asked for");
    }
    map_fabric(*options, places.store);
  });
}

} // namespace fcsctl
