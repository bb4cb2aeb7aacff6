// The log's times. The system reads the zone under a lock that a fork may leave taken for ever in the child,
// which therefore goes on with the offset that was last seen.
#include "lumora/Platform/Linux/Host/LocalTime.h"

#include <unistd.h>

#include <atomic>
#include <chrono>

#include "lumora/Platform/Linux/Host/LinuxClock.h"

namespace lumora {

LocalTime currentLocalTime() {
  static const pid_t first = ::getpid();
  static std::atomic<std::chrono::seconds> offset = std::chrono::seconds(0);
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  if (::getpid() == first) offset = LinuxClock().utcOffset(now);
  const auto local = now + offset.load();
  const auto midnight = std::chrono::floor<std::chrono::days>(local);
  const std::chrono::year_month_day date(midnight);
  const std::chrono::hh_mm_ss time(local - midnight);
  return {.month = unsigned(date.month()),
          .day = unsigned(date.day()),
          .hour = static_cast<int>(time.hours().count()),
          .minute = static_cast<int>(time.minutes().count()),
          .second = static_cast<int>(time.seconds().count())};
}

}  // namespace lumora
