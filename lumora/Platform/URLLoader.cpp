// What answers have in common, whichever loader they come from; loading is CurlURLLoader's, or the host's.
#include "lumora/Platform/URLLoader.h"

#include "lumora/Platform/ASCII.h"

namespace lumora {

std::optional<std::string> URLResponse::header(std::string_view name) const {
  for (auto entry = headers.rbegin(); entry != headers.rend(); ++entry) {
    if (equalsIgnoringCase(entry->first, name)) return entry->second;
  }
  return std::nullopt;
}

}  // namespace lumora
