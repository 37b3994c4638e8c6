#include "program.h"

#include "help_text.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

int run_program(const Program &program, int argc, char **argv) {
  try {
    CLI::App app(program.purpose, program.name);
    cli::speak_plainly(app);
    app.option_defaults()->always_capture_default();
    app.set_version_flag("--version", std::string(program.name) + " " FCS_VERSION);
    program.describe(app);
    try {
      app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
      return app.exit(error) == 0 ? 0 : 2;
    }
    return 0;
  } catch (const std::exception &error) {
    std::cout.flush();
    if (program.report != nullptr) {
      program.report(error.what());
    } else {
      std::cerr << program.name << ": " << error.what() << '\n';
    }
    const auto *const failure = dynamic_cast<const Failure *>(&error);
    return failure == nullptr ? 1 : failure->exit_status;
  }
}
