#include "common/program/help_text.h"
#include "fabric_generator.h"
#include "service/description/fabric_json.h"
#include "tools/command_line/output.h"
#include "tools/command_line/progress_line.h"
#include "tools/fcsctl.h"

#include <memory>

namespace fcsctl {

namespace {

struct Options {
  FabricShape shape;
  std::string output = "-";
};

void generate(const Options &options) {
  cli::ProgressLine line;
  GeneratedFabric fabric(options.shape, [&line](uint32_t vsans) {
    line.show(std::to_string(vsans) + " VSANs written");
  });
  cli::write_output(options.output,
                    [&fabric](std::ostream &out) { fcs::write_description(fabric, out); });
}

} // namespace

void add_generate(CLI::App &app, const Places & /*places*/) {
  CLI::App *command = app.add_subcommand("generate", "Write the description of a made-up fabric");
  const auto options = std::make_shared<Options>();
  FabricShape &shape = options->shape;
  command->add_option("--seed", shape.seed, "The same seed gives the same fabric");
  command->add_option("--vsans", shape.vsans, "VSANs")->check(cli::between(1, FCS_MAX_VSAN));
  command->add_option("--switches", shape.switches, "Switches of each VSAN")
      ->check(cli::between(1, fcs::kMaxDomainId));
  command->add_option("--ports", shape.ports, "Ports of each switch")
      ->check(cli::between(1, kMaxSwitchPorts));
  command->add_option("--platforms", shape.platforms, "Platforms of each VSAN")
      ->check(cli::between(0, kMaxPlatforms));
  command->add_option("--output", options->output, "File to write; - for standard output")
      ->type_name("PATH");
  command->callback([options] { generate(*options); });
}

} // namespace fcsctl
