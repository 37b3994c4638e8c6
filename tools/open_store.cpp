#include "open_store.h"

#include <filesystem>
#include <stdexcept>

namespace fcsctl {

fcs::FabricStore open_fabric(const std::string &path) {
  if (!std::filesystem::exists(path)) {
    throw std::runtime_error("cannot open the store " + path + ": there is none");
  }
  fcs::FabricStore store(path, kBusyWait, fcs::FabricStore::Use::kRead);
  if (!store.holds_fabric()) {
    throw std::runtime_error("the store " + path + " holds no fabric");
  }
  return store;
}

} // namespace fcsctl
