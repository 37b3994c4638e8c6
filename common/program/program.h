/**
 * What the programs do alike: read the command line, tell their version, report what goes wrong.
 */
#pragma once

#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

/** An error that ends a program with a status of its own. */
struct Failure : std::runtime_error {
  Failure(const std::string &what, int status) : std::runtime_error(what), exit_status(status) {}
  int exit_status;
};

struct Program {
  const char *name;
  const char *purpose; ///< For --help.
  /** Adds the options to `app`, and the callbacks that do the program's work. */
  void (*describe)(CLI::App &app);
  /** Tells an error; null for standard error. */
  void (*report)(const char *error) = nullptr;
};

/** \return the exit status: 0; 1, or a Failure's own, for an error, which is told; 2 for a bad
 * command line. */
int run_program(const Program &program, int argc, char **argv);
