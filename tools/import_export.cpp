#include "service/fabric_json.h"
#include "service/fabric_store.h"
#include "service/fd.h"
#include "tools/fcsctl.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace fcsctl {

namespace {

/** How long to wait for another program's write to the store. */
constexpr std::chrono::seconds kBusyWait{10};

/** A line on the terminal that says how far an import is; nothing if there is no terminal. */
class ProgressLine {
public:
  ProgressLine() = default;
  ProgressLine(const ProgressLine &) = delete;
  ProgressLine &operator=(const ProgressLine &) = delete;
  ~ProgressLine() {
    if (shown_) {
      std::cerr << "\r\033[K";
    }
  }

  void show(uint32_t vsans) {
    const auto now = std::chrono::steady_clock::now();
    if (is_terminal_ && now >= next_) {
      std::cerr << '\r' << vsans << " VSANs read" << std::flush;
      shown_ = true;
      next_ = now + std::chrono::milliseconds(100);
    }
  }

private:
  bool is_terminal_ = isatty(STDERR_FILENO) == 1;
  bool shown_ = false;
  std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now();
};

void import_description(const std::string &path, const std::string &store_path) {
  fcs::FabricStore store(store_path, kBusyWait);
  fcs::FabricTotals totals{};
  {
    ProgressLine line;
    const auto progress = [&line](uint32_t vsans) { line.show(vsans); };
    totals = path == "-" ? fcs::import_fabric(store, std::cin, "standard input", progress)
                         : fcs::import_fabric_file(store, path, progress);
  }
  std::cout << "imported " << totals.vsans << " VSANs, " << totals.elements << " elements, "
            << totals.ports << " ports, " << totals.platforms << " platforms\n";
}

[[noreturn]] void fail(const std::string &path) {
  throw std::runtime_error(path + ": cannot be written: " + std::strerror(errno));
}

/** Writes to a file beside the one that is meant, so that a failure leaves the old one as it was.
 */
void export_to_file(fcs::FabricStore &store, const std::string &path) {
  std::string beside = path + ".XXXXXX";
  const fcs::Fd file(mkostemp(beside.data(), O_CLOEXEC));
  if (!file) {
    fail(path);
  }
  try {
    const mode_t mask = umask(0);
    umask(mask);
    std::ofstream out(beside);
    fcs::export_fabric(store, out);
    out.close();
    if (!out || fchmod(file.get(), 0666 & ~mask) != 0 || fsync(file.get()) != 0 ||
        rename(beside.c_str(), path.c_str()) != 0) {
      fail(path);
    }
  } catch (...) {
    unlink(beside.c_str());
    throw;
  }
}

void export_to_stream(fcs::FabricStore &store, std::ostream &out, const std::string &name) {
  fcs::export_fabric(store, out);
  out.flush();
  if (!out) {
    fail(name);
  }
}

void export_description(const std::string &path, const std::string &store_path) {
  if (!std::filesystem::exists(store_path)) {
    throw std::runtime_error("cannot open the store " + store_path + ": there is none");
  }
  fcs::FabricStore store(store_path, kBusyWait);
  if (!store.holds_fabric()) {
    throw std::runtime_error("the store " + store_path + " holds no fabric");
  }
  if (path == "-") {
    export_to_stream(store, std::cout, "standard output");
  } else if (std::filesystem::exists(path) && !std::filesystem::is_regular_file(path)) {
    std::ofstream out(path);
    export_to_stream(store, out, path);
  } else {
    export_to_file(store, path);
  }
}

} // namespace

void add_import(CLI::App &app, const Places &places) {
  CLI::App *command = app.add_subcommand("import", "Replace the fabric in the store");
  const auto file = std::make_shared<std::string>();
  command->add_option("FILE", *file, "Fabric description (JSON); - for standard input")->required();
  command->callback([file, &places] { import_description(*file, places.store); });
}

void add_export(CLI::App &app, const Places &places) {
  CLI::App *command = app.add_subcommand("export", "Write the description of the store's fabric");
  const auto file = std::make_shared<std::string>("-");
  command->add_option("FILE", *file, "File to write; - for standard output");
  command->callback([file, &places] { export_description(*file, places.store); });
}

} // namespace fcsctl
