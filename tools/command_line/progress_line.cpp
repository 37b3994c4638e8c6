#include "progress_line.h"

#include <iostream>
#include <unistd.h>

namespace cli {

namespace {

using namespace std::chrono_literals;

constexpr char kClear[] = "\r\033[K";

} // namespace

ProgressLine::ProgressLine(bool always)
    : is_terminal_(isatty(STDERR_FILENO) == 1), always_(always) {}

ProgressLine::~ProgressLine() {
  if (shown_ && is_terminal_) {
    std::cerr << kClear << std::flush;
  }
}

void ProgressLine::show(const std::string &text) {
  const auto now = std::chrono::steady_clock::now();
  if ((!is_terminal_ && !always_) || now < next_) {
    return;
  }
  if (is_terminal_) {
    std::cerr << kClear << text << std::flush;
  } else {
    std::cerr << text << std::endl;
  }
  shown_ = true;
  next_ = now + (is_terminal_ ? 100ms : 1000ms);
}

} // namespace cli
