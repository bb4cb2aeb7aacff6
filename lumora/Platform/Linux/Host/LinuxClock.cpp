// The system's clock and the zone of this process. TimeZoneName finds the zone's name; pauses that are no
// dates go by the steady clock where they are needed.
#include "lumora/Platform/Linux/Host/LinuxClock.h"

#include <ctime>
#include <thread>

#include "lumora/Platform/Linux/Tasks/LinuxTimer.h"

namespace lumora {

Date LinuxClock::now() {
  return std::chrono::floor<Date::duration>(std::chrono::system_clock::now());
}

std::chrono::seconds LinuxClock::utcOffset(Date date) {
  // localtime_r need not read the time zone's rules itself.
  [[maybe_unused]] static const bool areRulesRead = [] {
    ::tzset();
    return true;
  }();
  const std::time_t seconds = std::chrono::floor<std::chrono::seconds>(date).time_since_epoch().count();
  std::tm local{};
  // A year that no calendar here can hold counts as UTC.
  if (!::localtime_r(&seconds, &local)) return {};
  return std::chrono::seconds(local.tm_gmtoff);
}

void LinuxClock::sleepFor(std::chrono::milliseconds duration) {
  std::this_thread::sleep_for(duration);
}

std::unique_ptr<Timer> LinuxClock::makeTimer(const std::function<void()>& callback) {
  return std::make_unique<LinuxTimer>(callback);
}

}  // namespace lumora
