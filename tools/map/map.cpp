#include "dot_program.h"
#include "fabric_map.h"
#include "map_dot.h"
#include "service/description/fabric_json.h"
#include "service/store/fabric_reader.h"
#include "tools/fcsctl.h"
#include "tools/open_store.h"
#include "tools/output.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>

namespace fcsctl {

namespace {

struct Options {
  std::string file;
  std::vector<uint32_t> vsans;
  std::string format = "dot";
  std::string output = "-";
};

/** A directory for as long as the command runs. */
class WorkingDirectory {
public:
  WorkingDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "fcsctl-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("cannot make the directory " + name + ": " + std::strerror(errno));
    }
    path_ = name;
  }
  WorkingDirectory(const WorkingDirectory &) = delete;
  WorkingDirectory &operator=(const WorkingDirectory &) = delete;
  ~WorkingDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  std::string path(const char *name) const { return (path_ / name).string(); }

private:
  std::filesystem::path path_;
};

/** A store of its own for a description, which is judged as an import judges it. */
fcs::FabricStore store_of_description(const std::string &file, const WorkingDirectory &directory) {
  fcs::FabricStore store(directory.path("fabric.db"), kBusyWait);
  if (file == "-") {
    fcs::import_fabric(store, std::cin, "standard input");
  } else {
    fcs::import_fabric_file(store, file);
  }
  return store;
}

/** The VSANs to draw: the wanted ones, or all. */
std::vector<fcs::Vsan> choose_vsans(fcs::FabricSource &fabric,
                                    const std::vector<uint32_t> &wanted) {
  std::vector<fcs::Vsan> chosen;
  std::set<uint32_t> missing(wanted.begin(), wanted.end());
  fabric.vsans([&](const fcs::Vsan &vsan) {
    if (missing.erase(vsan.discovery.vsan) != 0 || wanted.empty()) {
      chosen.push_back(vsan);
    }
  });
  if (!missing.empty()) {
    throw std::runtime_error("the fabric has no VSAN " + std::to_string(*missing.begin()));
  }
  return chosen;
}

void write_graph(fcs::FabricSource &fabric, const std::vector<fcs::Vsan> &vsans,
                 std::ostream &out) {
  DotWriter writer(out);
  for (const fcs::Vsan &vsan : vsans) {
    writer.add(map_vsan(fabric, vsan));
  }
  writer.finish();
}

void draw(fcs::FabricSource &fabric, const Options &options, const WorkingDirectory &directory) {
  const std::vector<fcs::Vsan> vsans = choose_vsans(fabric, options.vsans);
  if (options.format == "dot") {
    write_output(options.output, [&](std::ostream &out) { write_graph(fabric, vsans, out); });
    return;
  }
  const std::string graph = directory.path("fabric.dot");
  write_output(graph, [&](std::ostream &out) { write_graph(fabric, vsans, out); });
  write_output(options.output, [&](std::ostream &out) { run_dot(graph, options.format, out); });
}

void map_fabric(const Options &options, const std::string &store_path) {
  const WorkingDirectory directory;
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
  command->add_option("--vsan", options->vsans, "Only this VSAN; may be given again")
      ->take_all()
      ->expected(1)
      ->check(CLI::Range(1U, fcs::kMaxVsan));
  command->add_option("--format", options->format, "What to write: a graph, or a drawing of it")
      ->check(CLI::IsMember({"dot", "svg"}));
  command->add_option("--output", options->output, "File to write; - for standard output");
  command->callback([options, &places] { map_fabric(*options, places.store); });
}

} // namespace fcsctl
