/**
 * What snmpd's `dlmod bench_tables .../bench_tables.so` calls. Root and row file come from the
 * environment, BENCH_MEMORY_ROOT and BENCH_ROWS: a library that is loaded by a line of the
 * configuration cannot be told by the lines behind it in time.
 */
#include "memory_tables.h"

#include <cstdlib>
#include <exception>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

extern "C" void init_bench_tables();

extern "C" void init_bench_tables() {
  const char *root = std::getenv("BENCH_MEMORY_ROOT");
  const char *rows = std::getenv("BENCH_ROWS");
  if (root == nullptr || rows == nullptr) {
    snmp_log(LOG_ERR, "bench: BENCH_MEMORY_ROOT and BENCH_ROWS are not both set\n");
    return;
  }
  try {
    bench::register_memory_tables(root, rows);
  } catch (const std::exception &error) {
    snmp_log(LOG_ERR, "bench: %s\n", error.what());
  }
}
