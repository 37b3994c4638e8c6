#include "patience.h"

#include <sched.h>

namespace ipc_wire {

namespace {

bool has_one_processor() {
  cpu_set_t processors;
  return sched_getaffinity(0, sizeof(processors), &processors) == 0 && CPU_COUNT(&processors) == 1;
}

} // namespace

Patience::Patience(std::chrono::microseconds longest)
    : longest_(has_one_processor() ? std::chrono::microseconds(0) : longest) {}

} // namespace ipc_wire
