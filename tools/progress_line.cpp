#include "progress_line.h"

#include <iostream>
#include <unistd.h>

namespace fcsctl {

ProgressLine::ProgressLine(std::string done)
    : done_(std::move(done)), is_terminal_(isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine() {
  if (shown_) {
    std::cerr << "\r\033[K";
  }
}

void ProgressLine::show(uint32_t vsans) {
  const auto now = std::chrono::steady_clock::now();
  if (is_terminal_ && now >= next_) {
    std::cerr << '\r' << vsans << " VSANs " << done_ << std::flush;
    shown_ = true;
    next_ = now + std::chrono::milliseconds(100);
  }
}

} // namespace fcsctl
