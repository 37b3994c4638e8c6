/**
 * fcsd: the FCS service. Owns the fabric and answers the SNMP module's requests.
 */
#include "common/program/help_text.h"
#include "common/program/program.h"
#include "common/system/defaults.h"
#include "service/configuration/configuration.h"
#include "service/description/fabric_json.h"
#include "service/discovery/discovery.h"
#include "service/reports/log.h"
#include "service/reports/notification_queue.h"
#include "service/server/listener.h"
#include "service/server/privileges.h"
#include "service/server/server.h"
#include "service/server/service_manager.h"
#include "service/store/fabric_store.h"
#include "service/store/store_lock.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <grp.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/** How long an answer may wait for another program's write to the store: half of the time after
 *  which the agent has no more use for it. */
constexpr std::chrono::milliseconds kBusyWait = fcs::kDefaultExchangeTimeout / 2;

struct Options {
  std::string socket = fcs::kDefaultSocket;
  std::string store = fcs::kDefaultStore;
  std::string group;
  std::string fabric;
  double time_scale = 1;
  std::optional<bool> wants_rejects;
  std::optional<bool> wants_completions;
};

/** The service was told to stop before it was ready. */
class Stopped : public std::exception {};

std::optional<gid_t> group_id(const std::string &name) {
  if (name.empty()) {
    return std::nullopt;
  }
  errno = 0;
  const group *found = getgrnam(name.c_str());
  if (found == nullptr) {
    throw std::runtime_error("unknown group " + name +
                             (errno == 0 ? "" : std::string(": ") + std::strerror(errno)));
  }
  return found->gr_gid;
}

/** A descriptor that is readable once the process has been told to stop. */
Fd catch_stop_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    sigaddset(&signals, signal);
  }
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  // A limit on the size of files is no reason to die: the write fails, and its request with it.
  signal(SIGXFSZ, SIG_IGN);
  Fd fd(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!fd) {
    throw std::runtime_error(std::string("cannot catch signals: ") + std::strerror(errno));
  }
  return fd;
}

void import_initial_fabric(fcs::FabricStore &store, const std::string &path, int stop_fd) {
  if (path.empty()) {
    return;
  }
  if (store.holds_fabric()) {
    fcs::log_line("the store holds a fabric already, %s is not read", path.c_str());
    return;
  }
  fcs::import_fabric_file(store, path, [stop_fd](uint32_t /*vsans*/) {
    pollfd polled{stop_fd, POLLIN, 0};
    if (poll(&polled, 1, 0) > 0) {
      throw Stopped();
    }
  });
  fcs::log_line("imported %s", path.c_str());
}

void set_wanted(fcs::FabricStore &store, fcs::Setting setting, std::optional<bool> wanted) {
  if (wanted) {
    store.settings().set(setting, *wanted ? 1 : 0);
  }
}

void serve(const Options &options) {
  umask(S_IRWXG | S_IRWXO);
  const std::optional<gid_t> group = group_id(options.group);
  const Fd stop = catch_stop_signals();
  fcs::Listener listener(options.socket, group);
  fcs::give_up_privileges(); // The socket's group was the last thing to need one.
  const fcs::StoreLock lock(options.store);
  fcs::FabricStore store(options.store, kBusyWait);
  if (group) {
    store.let_read(*group);
  }
  set_wanted(store, fcs::Setting::kRejectNotifications, options.wants_rejects);
  set_wanted(store, fcs::Setting::kCompleteNotifications, options.wants_completions);
  fcs::NotificationQueue notifications;
  // Before the import: what that brings in progress is no leftover.
  fcs::Discovery discovery(store, notifications, options.time_scale);
  store.watch_files();
  import_initial_fabric(store, options.fabric, stop.get());
  fcs::Configuration configuration(store, notifications);
  const fcs::FabricTotals totals = store.totals();
  fcs::Server server({listener, store, discovery, configuration, notifications},
                     {geteuid(), group});
  fcs::log_line("ready: socket %s, store %s with %u VSANs, %u elements, %u ports, %u platforms",
                listener.path().c_str(), store.path().c_str(), totals.vsans, totals.elements,
                totals.ports, totals.platforms);
  fcs::ServiceManager::ready("serving " + std::to_string(totals.vsans) + " VSANs at the start");
  server.run(stop.get());
  fcs::ServiceManager::stopping();
  fcs::log_line("stopped");
}

void describe(CLI::App &app) {
  static Options options;
  app.add_option("--socket", options.socket, "Socket to listen on")->type_name("PATH");
  app.add_option("--store", options.store, "Database that holds the fabric")->type_name("PATH");
  app.add_option("--group", options.group,
                 "Group whose members may connect, besides root, and read the store if it is of "
                 "this group")
      ->type_name("GROUP");
  app.add_option("--fabric", options.fabric,
                 "Fabric description (JSON) to import if the store holds no fabric yet")
      ->type_name("PATH");
  app.add_option("--time-scale", options.time_scale,
                 "Discoveries and their time-out run so many times faster")
      ->check(CLI::Range(1.0, 1e6).description("1 to 1000000"));
  const auto add_switch = [&app](const char *name, std::optional<bool> &wanted, const char *what) {
    app.add_option(name, wanted, what)->type_name("N")->check(cli::one_of({"0", "1"}));
  };
  add_switch("--reject-notifications", options.wants_rejects,
             "Whether notifications of rejects are wanted from now on");
  add_switch("--complete-notifications", options.wants_completions,
             "Whether notifications of completed discoveries are wanted from now on");
  app.callback([] {
    try {
      serve(options);
    } catch (const Stopped &) {
      fcs::log_line("stopped before it was ready");
    }
  });
}

} // namespace

int main(int argc, char **argv) {
  return run_program({"fcsd",
                      "The FCS service: keeps the fabric and answers the SNMP module's requests.",
                      describe, [](const char *error) { fcs::log_line("%s", error); }},
                     argc, argv);
}
