#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/Value.h"

namespace lumora {

inline constexpr std::string_view KEY_ACTION_TYPE = "Action Type";
inline constexpr std::string_view KEY_ACTION_DETAILS = "Action Details";
inline constexpr std::string_view KEY_ACTION_METRIC = "Action Metric";
inline constexpr std::string_view KEY_ACTION_LENGTH = "Action Length";

/// The details of a custom action, for `Lumora::reportAction`.
///
/// The host makes one, fills it in and hands it over. What a host in C++ changes after that and before the
/// library's queue reads it is seen; other languages hand over a copy. Any thread may call any operation. An
/// absent value or an empty text changes nothing, silently; a later value for the same key replaces the
/// earlier one. What JSON does not have, a number that is not finite, data or a date, makes the whole action
/// unrecordable.
///
///     auto metaData = std::make_shared<lumora::LumoraActionMetaData>();
///     metaData->setType("purchase");
///     metaData->setMetric(12.5);
///     lumora::Lumora::sharedInstance().reportAction("checkout", metaData);
class LUMORA_EXPORT LumoraActionMetaData {
 public:
  using Text = std::optional<std::string>;

  void setType(const Text& type) { setKey(KEY_ACTION_TYPE, type); }
  void setDetails(const Text& details) { setKey(KEY_ACTION_DETAILS, details); }
  /// Any number, 0 included.
  void setMetric(const Value& number) { setNumber(KEY_ACTION_METRIC, number); }
  void setLength(const Value& number) { setNumber(KEY_ACTION_LENGTH, number); }
  /// A detail of the host's own.
  void setKey(const std::optional<std::string_view>& key, const Text& value);

  /// The details as they are now.
  Dictionary actionMetadata() const;
  void setActionMetadata(Dictionary metadata);

 private:
  void setNumber(std::string_view key, const Value& number);

  mutable Mutex mutex_;
  Dictionary actionMetadata_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora
