#include "sample.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <sstream>
#include <system_error>
#include <utility>

namespace bench {

namespace {

double microseconds(Clock::duration duration) {
  return std::chrono::duration<double, std::micro>(duration).count();
}

double cpu_of(const std::string &name, pid_t process) {
  clockid_t clock = 0;
  timespec time{};
  int error = clock_getcpuclockid(process, &clock);
  if (error == 0 && clock_gettime(clock, &time) != 0) {
    error = errno;
  }
  if (error != 0) {
    throw std::system_error(error, std::generic_category(),
                            "CPU clock of " + name + ", process " + std::to_string(process));
  }
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

/** The value of which `share` of all values are smaller or equal. */
double percentile(const std::vector<double> &sorted, double share) {
  if (sorted.empty()) {
    return 0;
  }
  const auto rank = static_cast<size_t>(share * static_cast<double>(sorted.size()));
  return sorted[std::min(rank, sorted.size() - 1)];
}

} // namespace

Sample::Sample(Processes processes) : processes_(std::move(processes)) {
  latencies_us_.reserve(1 << 20);
  cpu_at_start_ = cpu_now();
  started_ = Clock::now();
}

void Sample::add_request(Clock::time_point sent) {
  latencies_us_.push_back(microseconds(Clock::now() - sent));
}

std::string Sample::finish() {
  const double elapsed = microseconds(Clock::now() - started_);
  const Microseconds cpu = cpu_now();
  std::sort(latencies_us_.begin(), latencies_us_.end());
  std::ostringstream json;
  json << std::fixed << "{\"varbinds\": " << varbinds_ << ", \"requests\": " << latencies_us_.size()
       << ", \"seconds\": " << elapsed / 1e6 << ", \"p50_us\": " << percentile(latencies_us_, 0.5)
       << ", \"p99_us\": " << percentile(latencies_us_, 0.99) << ", \"cpu_us\": {";
  const char *separator = "";
  for (const auto &[name, at_start] : cpu_at_start_) {
    json << separator << '"' << name << "\": " << cpu.at(name) - at_start;
    separator = ", ";
  }
  json << "}}";
  return json.str();
}

Sample::Microseconds Sample::cpu_now() const {
  Microseconds cpu;
  for (const auto &[name, process] : processes_) {
    cpu[name] = cpu_of(name, process);
  }
  return cpu;
}

} // namespace bench
