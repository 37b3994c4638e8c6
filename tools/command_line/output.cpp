#include "output.h"

#include "common/system/fd.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace cli {

namespace {

using Write = std::function<void(std::ostream &)>;

[[noreturn]] void fail(const std::string &path) {
  throw std::runtime_error(path + ": cannot be written: " + std::strerror(errno));
}

/** Writes to a file beside the one that is meant: a failure leaves the old one as it was. */
void write_file(const std::string &path, const Write &write) {
  std::string beside = path + ".XXXXXX";
  const Fd file(mkostemp(beside.data(), O_CLOEXEC));
  if (!file) {
    fail(path);
  }
  try {
    const mode_t mask = umask(0);
    umask(mask);
    std::ofstream out(beside);
    write(out);
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

void write_stream(std::ostream &out, const std::string &name, const Write &write) {
  write(out);
  out.flush();
  if (!out) {
    fail(name);
  }
}

} // namespace

void print_line(const std::string &line) {
  std::cout << line << '\n' << std::flush;
  if (!std::cout) {
    throw std::runtime_error("standard output: cannot be written");
  }
}

void write_output(const std::string &path, const Write &write) {
  if (path == "-") {
    write_stream(std::cout, "standard output", write);
  } else if (std::filesystem::exists(path) && !std::filesystem::is_regular_file(path)) {
    std::ofstream out(path);
    write_stream(out, path, write);
  } else {
    write_file(path, write);
  }
}

} // namespace cli
