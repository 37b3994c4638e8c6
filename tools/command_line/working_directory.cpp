#include "working_directory.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace cli {

WorkingDirectory::WorkingDirectory() {
  std::string name = (std::filesystem::temp_directory_path() / "fcs-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("cannot make the directory " + name + ": " + std::strerror(errno));
  }
  path_ = name;
}

WorkingDirectory::~WorkingDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

} // namespace cli
