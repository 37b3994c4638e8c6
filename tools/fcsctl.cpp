/**
 * fcsctl: what an engineer uses to drive the FCS service and to read the event history.
 */
#include "fcsctl.h"

#include "service/server/defaults.h"

#include <exception>
#include <iostream>

namespace {

constexpr char kDefaultHistory[] = "/var/lib/snmp/fcs-history";

int run(int argc, char **argv) {
  fcsctl::Places places{fcs::kDefaultSocket, fcs::kDefaultStore, kDefaultHistory};
  CLI::App app("Drives the FCS service and reads the event history.", "fcsctl");
  app.option_defaults()->always_capture_default();
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("--version", "fcsctl " FCS_VERSION);
  app.add_option("--socket", places.socket, "Socket of the service")->envname("FCS_SOCKET");
  app.add_option("--store", places.store, "Database that holds the fabric")->envname("FCS_STORE");
  app.add_option("--history", places.history, "File of the event history")->envname("FCS_HISTORY");
  for (const auto add :
       {fcsctl::add_import, fcsctl::add_export, fcsctl::add_generate, fcsctl::add_map,
        fcsctl::add_status, fcsctl::add_event, fcsctl::add_watch, fcsctl::add_history}) {
    add(app, places);
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  return 0;
}

} // namespace

int main(int argc, char **argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception &error) {
    std::cout.flush();
    std::cerr << "fcsctl: " << error.what() << '\n';
    return 1;
  }
}
