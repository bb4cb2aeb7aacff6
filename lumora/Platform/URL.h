#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "lumora/Platform/Export.h"

namespace lumora {

/// A syntactically valid URL (RFC 3986), kept exactly as it was written.
///
/// A value type: copy it freely, use it from any thread.
class LUMORA_EXPORT URL {
 public:
  /// Gives the URL, or nothing when the text is empty or holds a character that no URL may hold
  /// (blanks, control and non-ASCII characters, quotes, a percent sign without two hexadecimal digits, …), or
  /// when what stands before its first colon is no scheme.
  static std::optional<URL> parse(std::string_view text);

  const std::string& absoluteString() const noexcept { return text_; }

  /// The parts as they stand in the text; nothing when the URL has no such part.
  std::optional<std::string> scheme() const;
  std::optional<std::string> host() const;
  std::optional<std::string> query() const;

  friend bool operator==(const URL&, const URL&) = default;

 private:
  explicit URL(std::string text) : text_(std::move(text)) {}

  std::string text_;
};

/// Escapes, by percent signs, the bytes that may stand nowhere in a URL; the reserved characters
/// (`?`, `&`, `=`, `@`, `+`, `/`, `:` and the like) stay as they are. A percent sign is escaped too.
LUMORA_EXPORT std::string percentEscaped(std::string_view text);

/// Replaces every percent escape by its byte. Gives nothing when an escape is broken or when the
/// result is not UTF-8.
LUMORA_EXPORT std::optional<std::string> percentDecoded(std::string_view text);

}  // namespace lumora
