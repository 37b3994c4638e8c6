#include "log.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace {

/** What the library says of each object that the master refuses, and nowhere else. */
constexpr std::string_view kRefusal = "registering pdu failed";
/** What it says at every attempt; the subagent says it once. */
constexpr std::string_view kAttempts[] = {"NET-SNMP version ", "AgentX master disconnected us"};

FILE *log_file;
int refusals;
bool line_begins = true;

void print_time() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  localtime_r(&now.tv_sec, &local);
  std::array<char, 32> stamp{};
  (void)strftime(stamp.data(), stamp.size(), "%Y-%m-%d %H:%M:%S ", &local);
  (void)fputs(stamp.data(), log_file);
}

int on_message(int /*major*/, int /*minor*/, void *message, void * /*client*/) {
  const std::string_view text = static_cast<const snmp_log_message *>(message)->msg;
  if (text.starts_with(kRefusal)) {
    ++refusals;
    return SNMPERR_SUCCESS;
  }
  for (const std::string_view attempt : kAttempts) {
    if (text.starts_with(attempt)) {
      return SNMPERR_SUCCESS;
    }
  }
  if (line_begins) { // A debug line comes in pieces.
    print_time();
  }
  (void)fwrite(text.data(), 1, text.size(), log_file);
  line_begins = text.ends_with('\n');
  return SNMPERR_SUCCESS;
}

} // namespace

void subagent_log_open() {
  log_file = fdopen(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0), "w");
  if (log_file == nullptr) {
    throw std::runtime_error(std::string("no log: ") + strerror(errno));
  }
  setlinebuf(log_file);
  snmp_disable_log();
  netsnmp_register_loghandler(NETSNMP_LOGHANDLER_CALLBACK, LOG_DEBUG);
  snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, on_message, nullptr);
}

int subagent_log_take_refusals() {
  return std::exchange(refusals, 0);
}
