#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "lumora/Platform/Value.h"

namespace lumora {

/// Lists and maps nested deeper than this are neither read nor written.
inline constexpr int kMaximumJSONDepth = 512;

enum class JSONStyle { compact, pretty };

/// Decodes one JSON text (UTF-8). Gives nothing when the text is not JSON, is not UTF-8, or is nested too
/// deeply. Whole numbers of 64 bits, signed or not, keep their digits; all others become doubles; of equal
/// keys the last holds. Throws std::bad_alloc: a text that only memory is missing for may be JSON after all.
LUMORA_EXPORT std::optional<Value> parseJSON(std::string_view text);

/// Encodes a value of JSON kinds (null, number, string, list, map) as UTF-8 JSON. Gives nothing when the
/// value holds anything else, a number that is not finite, a text that is not UTF-8, or is nested too deeply.
LUMORA_EXPORT std::optional<std::string> writeJSON(const Value& value, JSONStyle style = JSONStyle::compact);

/// The same for a map, without the copy that a Value of it would cost.
LUMORA_EXPORT std::optional<std::string> writeJSON(const Dictionary& map,
                                                   JSONStyle style = JSONStyle::compact);

/// Whether the bytes are well-formed UTF-8.
LUMORA_EXPORT bool isUTF8(std::string_view text) noexcept;

}  // namespace lumora
