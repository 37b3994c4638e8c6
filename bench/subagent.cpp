/** bench_subagent: the memory tables behind AgentX, in a process of their own. */
#include "memory_tables.h"

#include <csignal>
#include <exception>
#include <iostream>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

namespace {

volatile std::sig_atomic_t stopped = 0;

void stop(int /*signal*/) {
  stopped = 1;
}

void serve(const char *socket, const char *root, const char *rows) {
  netsnmp_enable_subagent();
  netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, socket);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  snmp_enable_stderrlog();
  init_agent("bench_subagent");
  bench::register_memory_tables(root, rows);
  init_snmp("bench_subagent");
  while (stopped == 0) {
    agent_check_and_process(1);
  }
  snmp_shutdown("bench_subagent");
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 4) {
    std::cerr << "usage: bench_subagent AGENTX-SOCKET ROOT ROWS-FILE\n";
    return 2;
  }
  std::signal(SIGTERM, stop);
  std::signal(SIGINT, stop);
  try {
    serve(argv[1], argv[2], argv[3]);
  } catch (const std::exception &error) {
    std::cerr << "bench_subagent: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
