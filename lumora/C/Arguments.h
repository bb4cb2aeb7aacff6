#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "lumora/C/Handles.h"
#include "lumora/C/lumora.h"
#include "lumora/Platform/Value.h"

namespace lumora::c {

/// A call that cannot be served; `guarded` makes its result of it.
struct Failure {
  lumora_result result;
};

/// Runs a call. Nothing is thrown past it.
template <typename Call>
lumora_result guarded(Call&& call) noexcept {
  try {
    std::forward<Call>(call)();
    return LUMORA_OK;
  } catch (const Failure& failure) {
    return failure.result;
  } catch (const std::bad_alloc&) {
    return LUMORA_OUT_OF_MEMORY;
  } catch (...) {
    return LUMORA_INTERNAL_ERROR;
  }
}

/// Runs a call that gives a value; `otherwise` on any failure.
template <typename Result, typename Call>
Result guardedValue(Result otherwise, Call&& call) noexcept {
  guarded([&] { otherwise = std::forward<Call>(call)(); });
  return otherwise;
}

/// A text that may be missing. Fails when it is not UTF-8.
std::optional<std::string> optionalText(lumora_text text);
/// A text that must be there.
std::string requiredText(lumora_text text);
/// The bytes; nothing for no bytes at all.
std::optional<Data> optionalData(lumora_data data);

/// The text as C sees it: valid while the string is.
inline lumora_text view(std::string_view text) {
  return {text.data(), text.size()};
}
inline lumora_text optionalView(const std::optional<std::string>& text) {
  return text ? view(*text) : lumora_text{nullptr, 0};
}

/// Writes a text to a caller's buffer. Fails, with the length given, when it does not fit.
void give(std::string_view text, char* buffer, std::size_t capacity, std::size_t* length);

/// The object of a handle. Fails when there is none.
template <typename Object>
std::shared_ptr<Object> object(lumora_handle handle) {
  auto found = Handles::sharedInstance().find<Object>(handle);
  if (!found) throw Failure{LUMORA_BAD_HANDLE};
  return found;
}

/// The same where none is fine too.
template <typename Object>
std::shared_ptr<Object> optionalObject(lumora_handle handle) {
  return handle == LUMORA_NONE ? nullptr : object<Object>(handle);
}

}  // namespace lumora::c
