#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "lumora/Platform/Value.h"

namespace lumora {

/// The settings file is a JSON text in which every value keeps its kind:
///
///     {"version": 1, "values": {"name": "Ada", "opens": 3, "ratio": 0.5, "blocked": false, "tags": ["a"],
///      "at": {"date": 1500000000000000}, "blob": {"data": "AAEC"}, "nested": {"map": {"a": 1}}}}
///
/// Dates count microseconds since 1970-01-01 UTC, data is base64.

/// The value as it reads back from the file: of the numbers only bool, 64-bit and double are told apart.
/// Throws `std::invalid_argument` for what the file cannot hold.
Value storableSetting(std::string_view key, const Value& value);

/// The file's text. The values must be storable.
std::optional<std::string> encodeSettings(const Dictionary& values);

/// The values of a file; nothing when the text is no settings file.
std::optional<Dictionary> decodeSettings(std::string_view text);

}  // namespace lumora
