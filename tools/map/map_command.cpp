#include "map_command.h"

#include "dot_program.h"
#include "map_page.h"
#include "tools/command_line/output.h"
#include "tools/command_line/working_directory.h"

namespace fabric_map {

namespace {

template <typename Writer> void write(Writer writer, const VsanSource &source) {
  source([&writer](const Vsan &vsan) { writer.add(vsan); });
  writer.finish();
}

} // namespace

void add_map_options(CLI::App &command, MapOptions &options, const std::function<void()> &run) {
  cli::add_vsan_option(command, options.vsans, "Only these VSANs, such as 1-100,2100");
  command.add_flag_callback(
      "--summary", [&options] { options.detail = Detail::kSummary; },
      "Only the elements of each VSAN, with their links bundled");
  command
      .add_option("--format", options.format,
                  "What to write: a graph, a drawing of it, or a page for a browser")
      ->check(cli::one_of({"dot", "svg", "html"}))
      ->type_name("FORMAT");
  command.add_option("--output", options.output, "File to write; - for standard output")
      ->type_name("PATH");
  command.callback([&options, run] {
    if (options.format == "html" && options.detail == Detail::kSummary) {
      throw CLI::ValidationError("--summary", "not with --format html: a page shows the links "
                                              "bundled, and ports when they are asked for");
    }
    run();
  });
}

void write_map(const MapOptions &options, const VsanSource &source) {
  const auto write_page = [&](std::ostream &out) { write(PageWriter(out), source); };
  const auto write_graph = [&](std::ostream &out) {
    write(DotWriter(out, options.detail), source);
  };
  if (options.format == "html") {
    cli::write_output(options.output, write_page);
    return;
  }
  if (options.format == "dot") {
    cli::write_output(options.output, write_graph);
    return;
  }
  const cli::WorkingDirectory directory;
  const std::string graph = directory.path("fabric.dot");
  cli::write_output(graph, write_graph);
  cli::write_output(options.output,
                    [&](std::ostream &out) { run_dot(graph, options.format, out); });
}

} // namespace fabric_map
