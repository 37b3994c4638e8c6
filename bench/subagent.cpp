/** bench_subagent: the memory tables behind AgentX, in a process of their own. */
#include "platform/linux/agentx/subagent.h"
#include "memory_tables.h"

#include <exception>
#include <iostream>

namespace {

const char *root;
const char *rows;

void register_tables() {
  bench::register_memory_tables(root, rows);
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 5) {
    std::cerr << "usage: bench_subagent MASTER DIRECTORY ROOT ROWS-FILE\n";
    return 2;
  }
  root = argv[3];
  rows = argv[4];
  try {
    serve_as_subagent({.name = "bench_subagent",
                       .master = argv[1],
                       .directory = argv[2],
                       .objects = root,
                       .register_objects = register_tables});
  } catch (const std::exception &error) {
    std::cerr << "bench_subagent: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
