/**
 * A line on the terminal that says how far a long job is.
 */
#pragma once

#include <chrono>
#include <string>

namespace cli {

/** Removes the line at the end. */
class ProgressLine {
public:
  /** \param always also where standard error is no terminal: a line a second is written there. */
  explicit ProgressLine(bool always = false);
  ProgressLine(const ProgressLine &) = delete;
  ProgressLine &operator=(const ProgressLine &) = delete;
  ~ProgressLine();

  void show(const std::string &text);

private:
  bool is_terminal_;
  bool always_;
  bool shown_ = false;
  std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now();
};

} // namespace cli
