#pragma once

#include <string>

#include "lumora/Platform/Value.h"

namespace lumora {

/// The shortest decimal text of a number that reads back equal: never an exponent, no decimals for a whole
/// number. What is no finite number gives "0".
std::string decimalText(const Value& number);

}  // namespace lumora
