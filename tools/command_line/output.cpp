#include "output.h"

#include "common/system/fd.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <streambuf>
#include <sys/stat.h>
#include <unistd.h>

namespace cli {

namespace {

using Write = std::function<void(std::ostream &)>;

[[noreturn]] void fail(const std::string &name, int error) {
  throw std::runtime_error(name + ": cannot be written: " + std::strerror(error));
}

/** What is written to a stream goes to a descriptor; and why it does not, if it fails. */
class DescriptorBuffer : public std::streambuf {
public:
  explicit DescriptorBuffer(int descriptor) : descriptor_(descriptor) { clear(); }

  /** The errno of what has failed. */
  int error() const { return error_; }

protected:
  int_type overflow(int_type octet) override {
    if (sync() != 0) {
      return traits_type::eof();
    }
    return traits_type::eq_int_type(octet, traits_type::eof()) ? traits_type::not_eof(octet)
                                                               : sputc(static_cast<char>(octet));
  }

  int sync() override {
    for (const char *next = pbase(); next < pptr();) {
      const ssize_t written = ::write(descriptor_, next, static_cast<size_t>(pptr() - next));
      if (written >= 0) {
        next += written;
      } else if (errno != EINTR) {
        error_ = errno;
        return -1;
      }
    }
    clear();
    return 0;
  }

private:
  void clear() { setp(octets_.data(), octets_.data() + octets_.size()); }

  int descriptor_;
  int error_ = 0;
  std::array<char, 1 << 16> octets_;
};

void write_to(int descriptor, const std::string &name, const Write &write) {
  DescriptorBuffer buffer(descriptor);
  std::ostream out(&buffer);
  write(out);
  out.flush();
  if (!out) {
    fail(name, buffer.error());
  }
}

/** Writes to a file beside the one that is meant: a failure leaves the old one as it was. */
void write_file(const std::string &path, const Write &write) {
  std::string beside = path + ".XXXXXX";
  const Fd file(mkostemp(beside.data(), O_CLOEXEC));
  if (!file) {
    fail(path, errno);
  }
  try {
    const mode_t mask = umask(0);
    umask(mask);
    write_to(file.get(), path, write);
    if (fchmod(file.get(), 0666 & ~mask) != 0 || fsync(file.get()) != 0 ||
        rename(beside.c_str(), path.c_str()) != 0) {
      fail(path, errno);
    }
  } catch (...) {
    unlink(beside.c_str());
    throw;
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
    std::cout.flush();
    write_to(STDOUT_FILENO, "standard output", write);
  } else if (std::filesystem::exists(path) && !std::filesystem::is_regular_file(path)) {
    const Fd device(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (!device) {
      fail(path, errno);
    }
    write_to(device.get(), path, write);
  } else {
    write_file(path, write);
  }
}

} // namespace cli
