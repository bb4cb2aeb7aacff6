// The one form of date that campaigns have. It is read by hand: a stream would follow the host's locale, and
// take more forms than this.
#include "lumora/InApp/CampaignDate.h"

#include <date/date.h>

#include <algorithm>
#include <chrono>

#include "lumora/Platform/ASCII.h"

namespace lumora {
namespace {

/// Reads a text from its front; the first failure sticks.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  int digits(std::size_t count) {
    if (rest_.size() < count || !std::ranges::all_of(rest_.substr(0, count), isASCIIDigit)) {
      failed_ = true;
      return 0;
    }
    int number = 0;
    for (const char digit : rest_.substr(0, count)) number = number * 10 + (digit - '0');
    rest_.remove_prefix(count);
    return number;
  }

  bool take(std::string_view text) {
    if (!rest_.starts_with(text)) return false;
    rest_.remove_prefix(text.size());
    return true;
  }

  void expect(std::string_view text) {
    if (!take(text)) failed_ = true;
  }

  /// Whether everything was read, and nothing failed.
  bool isComplete() const { return !failed_ && rest_.empty(); }
  bool isAtEnd() const { return rest_.empty(); }

 private:
  std::string_view rest_;
  bool failed_ = false;
};

/// What the zone adds to UTC; nothing when there is no zone.
std::optional<std::chrono::minutes> readZone(Reader& reader) {
  using namespace std::chrono_literals;
  if (reader.take("Z")) return 0min;
  const bool isGMT = reader.take("GMT");
  if (isGMT && reader.isAtEnd()) return 0min;
  const bool isWest = reader.take("-");
  if (!isWest && !reader.take("+")) return std::nullopt;
  const int hours = reader.digits(2);
  const bool hasColon = reader.take(":");
  const int minutes = reader.digits(2);
  // Behind GMT the colon is part of the form; elsewhere it is optional.
  if ((isGMT && !hasColon) || hours > 23 || minutes > 59) return std::nullopt;
  const std::chrono::minutes offset = hours * 1h + minutes * 1min;
  return isWest ? -offset : offset;
}

}  // namespace

std::optional<double> parseCampaignDate(std::string_view text) {
  Reader reader(text);
  const date::year year(reader.digits(4));
  reader.expect("-");
  const date::month month(static_cast<unsigned>(reader.digits(2)));
  reader.expect("-");
  const date::day day(static_cast<unsigned>(reader.digits(2)));
  reader.expect("T");
  const int hour = reader.digits(2);
  reader.expect(":");
  const int minute = reader.digits(2);
  reader.expect(":");
  const int second = reader.digits(2);
  const auto zone = readZone(reader);
  const date::year_month_day calendarDay(year, month, day);
  if (!reader.isComplete() || !zone || !calendarDay.ok() || hour > 23 || minute > 59 || second > 59) {
    return std::nullopt;
  }
  const auto instant = date::sys_days(calendarDay) + std::chrono::hours(hour) + std::chrono::minutes(minute) +
                       std::chrono::seconds(second) - *zone;
  return static_cast<double>(std::chrono::milliseconds(instant.time_since_epoch()).count());
}

}  // namespace lumora
