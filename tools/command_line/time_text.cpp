#include "time_text.h"

#include <ctime>
#include <iomanip>
#include <sstream>

namespace cli {

namespace {

std::string with_milliseconds(const tm &time, const char *format, int64_t time_ns) {
  std::ostringstream text;
  text << std::put_time(&time, format) << '.' << std::setfill('0') << std::setw(3)
       << time_ns / 1000000 % 1000;
  return text.str();
}

} // namespace

std::string time_text(int64_t time_ns) {
  const auto seconds = static_cast<time_t>(time_ns / 1000000000);
  tm local{};
  localtime_r(&seconds, &local);
  return with_milliseconds(local, "%Y-%m-%d %H:%M:%S", time_ns);
}

std::string utc_time_text(int64_t time_ns) {
  const auto seconds = static_cast<time_t>(time_ns / 1000000000);
  tm utc{};
  gmtime_r(&seconds, &utc);
  return with_milliseconds(utc, "%Y-%m-%dT%H:%M:%S", time_ns) + "Z";
}

} // namespace cli
