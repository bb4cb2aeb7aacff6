// Numbers as requests and stored campaigns hold them. Value::description, which is for log lines, may use an
// exponent; this text never does.
#include "lumora/Util/DecimalText.h"

#include <array>
#include <charconv>
#include <cmath>

namespace lumora {

std::string decimalText(const Value& number) {
  if (!number.isFloatingPoint()) return number.description();
  if (!std::isfinite(number.doubleValue())) return "0";
  // The longest double has 309 digits before its point, or some 1,080 behind it.
  std::array<char, 1200> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number.doubleValue(),
                                 std::chars_format::fixed);
  return {digits.data(), end.ptr};
}

}  // namespace lumora
