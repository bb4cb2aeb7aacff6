// The toolbox's checks, texts, dates and links. Settings are in LMRUtilSettings.cpp, what is told of the
// device in LMRUtilDevice.cpp. Patterns are matched by hand: std::regex overflows the stack on long input.
#include <date/date.h>

#include <algorithm>
#include <charconv>

#include "lumora/Platform/ASCII.h"
#include "lumora/Util/LMRSecuritySignature.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"

namespace lumora {
namespace {

/// Line ends do not count as "any character" in an address: \n, \v, \f, \r, U+0085, U+2028 and U+2029.
bool holdsLineEnd(std::string_view text) {
  constexpr std::string_view ends[] = {"\n", "\v", "\f", "\r", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"};
  return std::ranges::any_of(ends, [text](auto end) { return text.find(end) != std::string_view::npos; });
}

bool isLabelCharacter(char c) {
  return isASCIILetter(c) || isASCIIDigit(c) || c == '-';
}

/// One or more labels ended by a dot each, then two letters or more.
bool isEmailDomain(std::string_view domain) {
  const auto lastDot = domain.rfind('.');
  if (lastDot == std::string_view::npos) return false;
  const std::string_view last = domain.substr(lastDot + 1);
  if (last.size() < 2 || !std::ranges::all_of(last, isASCIILetter)) return false;
  char previous = '.';
  for (const char c : domain.substr(0, lastDot + 1)) {
    if (c == '.' ? previous == '.' : !isLabelCharacter(c)) return false;
    previous = c;
  }
  return true;
}

/// Takes a number without a sign and what must follow it from the front; nothing when they do not stand
/// there.
std::optional<unsigned> takeNumber(std::string_view& text, std::size_t maximumDigits,
                                   std::string_view following) {
  unsigned number = 0;
  const auto digits = text.substr(0, maximumDigits);
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  if (error != std::errc() || !text.starts_with(following)) return std::nullopt;
  text.remove_prefix(following.size());
  return number;
}

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
  if (text.find(from) == std::string::npos) return;
  std::string replaced;
  replaced.reserve(text.size() + text.size() / 8);
  std::size_t start = 0;
  for (auto found = text.find(from); found != std::string::npos; found = text.find(from, start)) {
    replaced.append(text, start, found - start).append(to);
    start = found + from.size();
  }
  text = std::move(replaced.append(text, start));
}

/// The day's first moment in the device's zone. Where the clock is put forward over midnight that is the
/// moment of the change, which the offset until then leads to; of two midnights it is the earlier.
Date firstMoment(Date midnightAsIfUTC) {
  using std::chrono::hours;
  Clock& clock = platform().clock;
  const auto before = clock.utcOffset(midnightAsIfUTC - hours(24));
  const auto after = clock.utcOffset(midnightAsIfUTC + hours(24));
  const auto isMidnight = [&](auto offset) { return clock.utcOffset(midnightAsIfUTC - offset) == offset; };
  return midnightAsIfUTC - (!isMidnight(before) && isMidnight(after) ? after : before);
}

}  // namespace

LMRUtil& LMRUtil::sharedInstance() {
  static auto* const instance = new LMRUtil;
  return *instance;
}

bool LMRUtil::isStringEmpty(const Value& value) {
  if (const auto* text = value.asString()) return text->empty();
  return isObjectNull(value);
}

bool LMRUtil::hasValue(std::string_view key, const Dictionary& dictionary,
                       const std::optional<std::string>& log) {
  if (findValue(dictionary, key)) return true;
  if (log) logLine("LumoraSDK- Dropping campaign {} due to {} have nil or bad value", *log, key);
  return false;
}

bool LMRUtil::isValidEmail(std::string_view text) const {
  // A domain holds no "@", so only the last one can divide the address.
  const auto at = text.rfind('@');
  if (at == std::string_view::npos || at == 0) return false;
  return !holdsLineEnd(text.substr(0, at)) && isEmailDomain(text.substr(at + 1));
}

std::string LMRUtil::getLocal() {
  const auto languages = platform().device.preferredLanguages();
  return languages.empty() ? std::string() : languages.front();
}

std::string LMRUtil::getTimeZone() {
  return platform().device.timeZoneName();
}

std::string LMRUtil::getDeviceName() {
  std::string name = getStringForKey(kLmroTestDeviceName);
  return name.empty() ? platform().device.name() : name;
}

std::shared_ptr<LMRSecuritySignature> LMRUtil::getSecureSignature() {
  const auto archive = getDataObjectForKey(kLmroSecureToken);
  auto signature = archive ? LMRSecuritySignature::initWithCoder(*archive) : nullptr;
  // An archive that another version wrote, or that was damaged, counts as none.
  return signature && signature->isValid() ? signature : nullptr;
}

std::string LMRUtil::getCurrentTimeStamp() const {
  std::string stamp = fmt::format("{:f}", secondsSince1970(platform().clock.now()) * 1000.0);
  logLine("The Timestamp is = {}", stamp);
  return stamp;
}

std::optional<Date> LMRUtil::getUTCDateTime(std::string_view text) const {
  const auto year = takeNumber(text, 4, "-");
  const auto month = takeNumber(text, 2, "-");
  const auto day = takeNumber(text, 2, "");
  if (!year || !month || !day || !text.empty()) return std::nullopt;
  const date::year_month_day calendarDay(date::year(static_cast<int>(*year)), date::month(*month),
                                         date::day(*day));
  if (!calendarDay.ok()) return std::nullopt;
  return firstMoment(Date(date::local_days(calendarDay).time_since_epoch()));
}

std::optional<URL> LMRUtil::getFormatedUrl(const std::optional<std::string>& text) const {
  if (!text) return std::nullopt;
  return text->find("://") == std::string::npos ? URL::parse("http://" + *text) : URL::parse(*text);
}

void LMRUtil::openUrl(const std::optional<URL>& url) const {
  if (!url) {
    logLine("LumoraSDK-Failed to launch action due to NULL url");
    return;
  }
  // The platform opens links on the main thread only.
  platform().queues.mainQueue().async([url = *url] {
    if (!platform().application.openURL(url))
      logLine("LumoraSDK-Failed to launch action:{}", url.absoluteString());
  });
}

std::optional<std::string> LMRUtil::getBundel() const {
  return platform().bundle.pathForResource("LMRResources", "bundle");
}

std::shared_ptr<LayoutResource> LMRUtil::getStoryboard() const {
  const auto bundlePath = getBundel();
  if (!bundlePath) {
    logLine("LumoraSDK-LMRResources.bundle not found !");
    return nullptr;
  }
  auto storyboard = platform().bundle.loadLayout(*bundlePath, "LMRInApp");
  if (!storyboard) logLine("LumoraSDK-LMRInApp Storyboard not found !");
  return storyboard;
}

std::string LMRUtil::formatString(std::string text) const {
  // The steps build on each other: an apostrophe behind a slash comes out four times.
  replaceAll(text, "/'", "/''");
  replaceAll(text, "'", "''");
  replaceAll(text, "\n", " ");
  return text;
}

}  // namespace lumora
