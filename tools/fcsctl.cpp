/**
 * fcsctl: what an engineer uses to drive the FCS service and to read the event history.
 */
#include "fcsctl.h"

#include "common/program/program.h"
#include "common/system/defaults.h"

namespace {

void describe(CLI::App &app) {
  static fcsctl::Places places{fcs::kDefaultSocket, fcs::kDefaultStore, fcs::kDefaultHistory};
  app.require_subcommand(1);
  app.fallthrough();
  app.add_option("--socket", places.socket, "Socket of the service")
      ->envname("FCS_SOCKET")
      ->type_name("PATH");
  app.add_option("--store", places.store, "Database that holds the fabric")
      ->envname("FCS_STORE")
      ->type_name("PATH");
  app.add_option("--history", places.history, "File of the event history")
      ->envname("FCS_HISTORY")
      ->type_name("PATH");
  for (const auto add :
       {fcsctl::add_import, fcsctl::add_export, fcsctl::add_generate, fcsctl::add_map,
        fcsctl::add_status, fcsctl::add_event, fcsctl::add_watch, fcsctl::add_history}) {
    add(app, places);
  }
}

} // namespace

int main(int argc, char **argv) {
  return run_program({"fcsctl", "Drives the FCS service and reads the event history.", describe},
                     argc, argv);
}
