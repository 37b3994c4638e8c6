/**
 * A line on the terminal that says how far a long job is.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace fcsctl {

/** Shows nothing when standard error is no terminal; removes the line at the end. */
class ProgressLine {
public:
  /** \param done what is being done to VSANs: "read", for example. */
  explicit ProgressLine(std::string done);
  ProgressLine(const ProgressLine &) = delete;
  ProgressLine &operator=(const ProgressLine &) = delete;
  ~ProgressLine();

  void show(uint32_t vsans);

private:
  std::string done_;
  bool is_terminal_;
  bool shown_ = false;
  std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now();
};

} // namespace fcsctl
