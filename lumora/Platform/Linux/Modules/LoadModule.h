#pragma once

#include <string_view>

namespace lumora {

/// A function of a module, a shared library that lies beside this one and is loaded when it is first needed.
/// The module stays. Null, with a line that begins with `complaint`, when there is no such module or
/// function.
///
/// Takes milliseconds the first time, so callers keep the result. Any thread.
void* functionOfModule(const char* module, const char* function, std::string_view complaint);

}  // namespace lumora
