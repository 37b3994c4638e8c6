#include "store_watch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <sys/inotify.h>
#include <unistd.h>

namespace fcs {

StoreWatch::StoreWatch(std::span<const std::string> contents,
                       std::span<const std::string> companions)
    : fd_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  constexpr uint32_t kGone = IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;
  const auto watch = [this](std::span<const std::string> paths, uint32_t events) {
    return std::ranges::all_of(paths, [this, events](const std::string &path) {
      return inotify_add_watch(fd_.get(), path.c_str(), events) >= 0 || errno == ENOENT;
    });
  };
  if (!watch(contents, kGone | IN_MODIFY) || !watch(companions, kGone)) {
    fd_ = Fd();
  }
}

void StoreWatch::take() const {
  std::array<char, 4096> events{};
  while (read(fd_.get(), events.data(), events.size()) > 0) {
  }
}

} // namespace fcs
