#include "log.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace fcs {

void log_line(const char *format, ...) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  localtime_r(&now.tv_sec, &local);
  std::array<char, 32> stamp{};
  (void)std::strftime(stamp.data(), stamp.size(), "%Y-%m-%d %H:%M:%S", &local);

  std::array<char, 2048> text{};
  va_list arguments;
  va_start(arguments, format);
  (void)std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  (void)std::fprintf(stderr, "%s.%03ld fcsd[%d]: %s\n", stamp.data(), now.tv_nsec / 1000000,
                     static_cast<int>(getpid()), text.data());
}

} // namespace fcs
