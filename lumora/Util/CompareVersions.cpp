// Version texts in order: runs of digits by what they count, everything else by its characters. What needs
// which version is for the callers to say.
#include "lumora/Util/CompareVersions.h"

#include <algorithm>

#include "lumora/Platform/ASCII.h"

namespace lumora {
namespace {

/// Takes the digits off the front of a text, without leading zeros.
std::string_view takeNumber(std::string_view& text) {
  const auto* const end = std::ranges::find_if_not(text, isASCIIDigit);
  std::string_view digits(text.begin(), end);
  text.remove_prefix(digits.size());
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
  return digits;
}

}  // namespace

std::strong_ordering compareVersions(std::string_view left, std::string_view right) {
  while (!left.empty() && !right.empty()) {
    if (isASCIIDigit(left.front()) && isASCIIDigit(right.front())) {
      const std::string_view leftNumber = takeNumber(left);
      const std::string_view rightNumber = takeNumber(right);
      // Of two numbers without leading zeros the longer is the larger.
      if (const auto order = leftNumber.size() <=> rightNumber.size(); order != 0) return order;
      if (const auto order = leftNumber <=> rightNumber; order != 0) return order;
    } else {
      if (const auto order = left.front() <=> right.front(); order != 0) return order;
      left.remove_prefix(1);
      right.remove_prefix(1);
    }
  }
  // Equal up to the end of one: the longer is the newer, "10.0" after "10".
  return left.size() <=> right.size();
}

}  // namespace lumora
