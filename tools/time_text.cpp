#include "time_text.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace fcsctl {

std::string time_text(int64_t time_ns) {
  const auto seconds = static_cast<time_t>(time_ns / 1000000000);
  tm local{};
  localtime_r(&seconds, &local);
  std::array<char, 32> text{};
  const size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
  (void)std::snprintf(text.data() + length, text.size() - length, ".%03d",
                      static_cast<int>(time_ns / 1000000 % 1000));
  return text.data();
}

} // namespace fcsctl
