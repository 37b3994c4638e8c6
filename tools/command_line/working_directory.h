/**
 * A place for files that nobody keeps.
 */
#pragma once

#include <filesystem>
#include <string>

namespace cli {

/** A directory for as long as the command runs. */
class WorkingDirectory {
public:
  /** Throws std::runtime_error when there can be none. */
  WorkingDirectory();
  WorkingDirectory(const WorkingDirectory &) = delete;
  WorkingDirectory &operator=(const WorkingDirectory &) = delete;
  ~WorkingDirectory();
  std::string path(const char *name) const { return (path_ / name).string(); }

private:
  std::filesystem::path path_;
};

} // namespace cli
