#include "command_line/output.h"
#include "command_line/progress_line.h"
#include "fcsctl.h"
#include "open_store.h"
#include "service/description/fabric_json.h"
#include "service/store/fabric_store.h"

#include <iostream>
#include <memory>

namespace fcsctl {

namespace {

void import_description(const std::string &path, const std::string &store_path) {
  fcs::FabricStore store(store_path, kBusyWait);
  fcs::FabricTotals totals{};
  {
    cli::ProgressLine line;
    const auto progress = [&line](uint32_t vsans) {
      line.show(std::to_string(vsans) + " VSANs read");
    };
    totals = path == "-" ? fcs::import_fabric(store, std::cin, "standard input", progress)
                         : fcs::import_fabric_file(store, path, progress);
  }
  std::cout << "imported " << totals.vsans << " VSANs, " << totals.elements << " elements, "
            << totals.ports << " ports, " << totals.platforms << " platforms\n";
}

void export_description(const std::string &path, const std::string &store_path) {
  fcs::FabricStore store = open_fabric(store_path);
  cli::write_output(path, [&store](std::ostream &out) { fcs::export_fabric(store, out); });
}

} // namespace

void add_import(CLI::App &app, const Places &places) {
  CLI::App *command = app.add_subcommand("import", "Replace the fabric in the store");
  const auto file = std::make_shared<std::string>();
  command->add_option("FILE", *file, "Fabric description (JSON); - for standard input")->required();
  command->callback([file, &places] { import_description(*file, places.store); });
}

void add_export(CLI::App &app, const Places &places) {
  CLI::App *command = app.add_subcommand("export", "Write the description of the store's fabric");
  const auto file = std::make_shared<std::string>("-");
  command->add_option("FILE", *file, "File to write; - for standard output");
  command->callback([file, &places] { export_description(*file, places.store); });
}

} // namespace fcsctl
