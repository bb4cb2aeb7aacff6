#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lumora/Platform/Value.h"
#include "lumora/Platform/ViewController.h"
#include "lumora/Util/Archivable.h"

namespace lumora {

class LMRSecuritySignature;

/// The library's toolbox: the settings store with its fixed defaults, the device state, and small checks and
/// conversions. It holds no state; every operation may be called from any thread.
class LUMORA_EXPORT LMRUtil {
 public:
  static LMRUtil& sharedInstance();

  // Settings. Every write is flushed before it returns.

  /// The stored text, or "".
  static std::string getStringForKey(std::string_view key);
  /// The stored integer, or 0.
  static std::int64_t getIntForkey(std::string_view key);
  /// The stored boolean, or false.
  static bool getBoolForKey(std::string_view key);
  /// A null value leaves what is stored unchanged. A store that refuses the value is logged, and nothing
  /// changes.
  static void setObject(const Value& value, std::string_view key);
  static void setInt(std::int64_t value, std::string_view key);
  static void setBool(bool value, std::string_view key);
  /// Archives the object. Null leaves what is stored unchanged; a refusal is logged.
  static void setDataObject(const Archivable* object, std::string_view key);
  /// The archived fields; nothing when there is no archive or it cannot be read.
  static std::optional<Coder> getDataObjectForKey(std::string_view key);

  // Device.

  /// What the client-information event tells of this device, built afresh on every call.
  static Dictionary deviceState();
  static Dictionary networkInfo();
  /// "iPod", "iPhone", "iPad" or "unknown".
  static std::string deviceType();
  /// The marketing name of the hardware, or its machine identifier when no name is known.
  static std::string deviceModelName();

  // Checks.

  static bool isObjectNull(const Value& value) { return value.isNull(); }
  static bool isStringEmpty(const std::optional<std::string>& text) { return !text || text->empty(); }
  /// Null counts as empty; a value that is no text does not.
  static bool isStringEmpty(const Value& value);
  /// Whether the map holds a value that is not null under the key. Otherwise the line that drops the campaign
  /// is logged, when a campaign is named.
  static bool hasValue(std::string_view key, const Dictionary& dictionary,
                       const std::optional<std::string>& log = std::nullopt);
  /// Any text, "@", and a domain of two labels or more whose last has two letters or more. Linear in the
  /// length.
  bool isValidEmail(std::string_view text) const;

  // Conversions and texts.

  /// The first preferred language.
  static std::string getLocal();
  static std::string getTimeZone();
  /// The name under which this is a test device, else the device's own name.
  static std::string getDeviceName();
  /// The stored security signature; null when there is none or it is not valid.
  static std::shared_ptr<LMRSecuritySignature> getSecureSignature();
  /// Milliseconds since 1970-01-01 UTC with six decimals; also logged.
  std::string getCurrentTimeStamp() const;
  /// The start of a day "yyyy-MM-dd" in the device's time zone; nothing when the text is no such day.
  std::optional<Date> getUTCDateTime(std::string_view text) const;
  /// The text as a URL, with "http://" put in front when it holds no "://"; nothing when that is no URL.
  std::optional<URL> getFormatedUrl(const std::optional<std::string>& text) const;
  /// Asks the platform, on the main queue, to open the URL; a missing or refused one is logged.
  void openUrl(const std::optional<URL>& url) const;
  /// The path of the resource bundle "LMRResources"; nothing when the host does not have it.
  std::optional<std::string> getBundel() const;
  /// The layout resource of the message screens; null, with a line, when it or its bundle is missing.
  std::shared_ptr<LayoutResource> getStoryboard() const;
  /// Escapes a text for the inside of an SQL literal; line feeds become blanks.
  std::string formatString(std::string text) const;

 private:
  LMRUtil() = default;
};

}  // namespace lumora
