// URLs as texts that were checked once, and percent escapes. Nothing is normalised: a URL goes out as it was
// written. Which links are opened is LMRUtil's and the host's business.
#include "lumora/Platform/URL.h"

#include <algorithm>

#include "lumora/Platform/ASCII.h"
#include "lumora/Platform/JSON.h"

namespace lumora {
namespace {

bool mayStandInURL(char c) {
  constexpr std::string_view unreservedAndReserved = "-._~:/?@!$&'()*+,;=#[]";
  return isASCIILetter(c) || isASCIIDigit(c) || unreservedAndReserved.find(c) != std::string_view::npos;
}

bool isEscapeAt(std::string_view text, std::size_t position) {
  return position + 2 < text.size() && hexDigitValue(text[position + 1]) >= 0 &&
         hexDigitValue(text[position + 2]) >= 0;
}

/// The length of the scheme, or npos when the text has none.
std::size_t schemeLength(std::string_view text) {
  if (text.empty() || !isASCIILetter(text.front())) return std::string_view::npos;
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (text[i] == ':') return i;
    if (!isASCIILetter(text[i]) && !isASCIIDigit(text[i]) && text[i] != '+' && text[i] != '-' &&
        text[i] != '.') {
      break;
    }
  }
  return std::string_view::npos;
}

/// What follows the scheme's colon, up to the fragment.
std::string_view withoutSchemeAndFragment(std::string_view text) {
  const std::size_t scheme = schemeLength(text);
  if (scheme != std::string_view::npos) text.remove_prefix(scheme + 1);
  return text.substr(0, text.find('#'));
}

/// Whether a colon stands where only a scheme's may: before any "/", "?" and "#".
bool hasColonOfScheme(std::string_view text) {
  const std::size_t end = text.find_first_of(":/?#");
  return end != std::string_view::npos && text[end] == ':';
}

std::optional<std::string_view> authority(std::string_view text) {
  std::string_view rest = withoutSchemeAndFragment(text);
  if (!rest.starts_with("//")) return std::nullopt;
  rest.remove_prefix(2);
  return rest.substr(0, rest.find_first_of("/?"));
}

/// An IPv6 address keeps its brackets here.
std::string_view hostOf(std::string_view authority) {
  // The last one: a password may hold others.
  if (const auto at = authority.rfind('@'); at != std::string_view::npos) authority.remove_prefix(at + 1);
  if (authority.starts_with('[')) return authority.substr(0, authority.find(']') + 1);
  return authority.substr(0, authority.find(':'));
}

bool isValidAuthority(std::string_view authority) {
  const std::string_view host = hostOf(authority);
  const bool isAddress = host.starts_with('[') && host.ends_with(']');
  if (!isAddress && authority.find_first_of("[]") != std::string_view::npos) return false;
  std::string_view port =
      authority.substr(static_cast<std::size_t>(host.data() - authority.data()) + host.size());
  if (port.empty()) return true;
  if (port.front() != ':') return false;
  port.remove_prefix(1);
  return std::ranges::all_of(port, isASCIIDigit);
}

}  // namespace

std::optional<URL> URL::parse(std::string_view text) {
  if (text.empty()) return std::nullopt;
  if (hasColonOfScheme(text) && schemeLength(text) == std::string_view::npos) return std::nullopt;
  int fragments = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' ? !isEscapeAt(text, i) : !mayStandInURL(text[i])) return std::nullopt;
    if (text[i] == '#') ++fragments;
  }
  const auto server = authority(text);
  if (fragments > 1 || (server && !isValidAuthority(*server))) return std::nullopt;
  // Square brackets enclose addresses; elsewhere no URL holds them.
  const std::size_t brackets =
      static_cast<std::size_t>(std::ranges::count_if(text, [](char c) { return c == '[' || c == ']'; }));
  const std::size_t inHost = server && hostOf(*server).starts_with('[') ? 2 : 0;
  if (brackets != inHost) return std::nullopt;
  return URL(std::string(text));
}

std::optional<std::string> URL::scheme() const {
  const std::size_t length = schemeLength(text_);
  if (length == std::string_view::npos) return std::nullopt;
  return text_.substr(0, length);
}

std::optional<std::string> URL::host() const {
  const auto server = authority(text_);
  if (!server || hostOf(*server).empty()) return std::nullopt;
  return std::string(hostOf(*server));
}

std::optional<std::string> URL::query() const {
  const std::string_view rest = withoutSchemeAndFragment(text_);
  const auto mark = rest.find('?');
  if (mark == std::string_view::npos) return std::nullopt;
  return std::string(rest.substr(mark + 1));
}

std::string percentEscaped(std::string_view text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string escaped;
  escaped.reserve(text.size());
  for (const char c : text) {
    // "#" would cut the text off, and brackets may only enclose an address.
    if (mayStandInURL(c) && c != '#' && c != '[' && c != ']') {
      escaped.push_back(c);
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    escaped.push_back('%');
    escaped.push_back(digits[byte >> 4U]);
    escaped.push_back(digits[byte & 0xFU]);
  }
  return escaped;
}

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded.push_back(text[i]);
      continue;
    }
    if (!isEscapeAt(text, i)) return std::nullopt;
    decoded.push_back(static_cast<char>(hexDigitValue(text[i + 1]) * 16 + hexDigitValue(text[i + 2])));
    i += 2;
  }
  if (!isUTF8(decoded)) return std::nullopt;
  return decoded;
}

}  // namespace lumora
