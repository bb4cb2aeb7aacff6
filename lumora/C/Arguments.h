#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "lumora/C/Handles.h"
#include "lumora/C/lumora.h"
#include "lumora/Platform/Value.h"

namespace lumora::c {

/// Ends a call that cannot be served; `guarded` gives the result.
[[noreturn]] void fail(lumora_result result);

/// What the exception that is being handled means to a C host.
lumora_result resultOfException() noexcept;

/// Runs a call. Nothing is thrown past it.
template <typename Call>
lumora_result guarded(Call&& call) noexcept {
  try {
    std::forward<Call>(call)();
    return LUMORA_OK;
  } catch (...) {
    return resultOfException();
  }
}

/// Runs a call that gives a value; `otherwise` on any failure.
template <typename Result, typename Call>
Result guardedValue(Result otherwise, Call&& call) noexcept {
  guarded([&] { otherwise = std::forward<Call>(call)(); });
  return otherwise;
}

/// A text that may be missing, where it lies. Fails when it is not UTF-8.
std::optional<std::string_view> borrowedText(lumora_text text);
/// A copy of it.
std::optional<std::string> optionalText(lumora_text text);
/// A text that must be there.
std::string requiredText(lumora_text text);
/// The bytes; nothing for no bytes at all.
std::optional<Data> optionalData(lumora_data data);

/// Fails when a structure that begins with its size is none.
template <typename Structure>
void requireSize(const Structure* given) {
  if (given == nullptr || given->size < sizeof(given->size)) fail(LUMORA_BAD_ARGUMENT);
  // Of any version of the structure: one that ends within a field would leave half a pointer.
  if (given->size % alignof(Structure) != 0) fail(LUMORA_BAD_ARGUMENT);
}
/// A structure that begins with its size: the fields that the caller knows of, and zeros. Fails without one.
template <typename Structure>
Structure sized(const Structure* given) {
  requireSize(given);
  Structure read{};
  std::memcpy(&read, given, std::min(given->size, sizeof(read)));
  read.size = sizeof(read);
  return read;
}
/// The same where none means every default.
template <typename Structure>
Structure sizedOrDefault(const Structure* given) {
  return given == nullptr ? Structure{} : sized(given);
}

/// A callback's context, which is freed once nothing calls that any more, or at once when memory is lacking.
inline std::shared_ptr<void> owned(void* context, void (*free)(void* context)) {
  return {context, [free](void* ended) {
            if (free != nullptr) free(ended);
          }};
}

/// The text as C sees it: valid while the string is.
inline lumora_text view(std::string_view text) {
  return {text.data(), text.size()};
}
inline lumora_text optionalView(const std::optional<std::string>& text) {
  return text ? view(*text) : lumora_text{nullptr, 0};
}

/// Writes a text to a caller's buffer. Fails, with the length given, when it does not fit.
void give(std::string_view text, char* buffer, std::size_t capacity, std::size_t* length);

/// A share of a handle's object. Fails when there is none.
template <typename Object>
std::shared_ptr<Object> object(lumora_handle handle) {
  auto found = Handles::sharedInstance().find<Object>(handle);
  if (!found) fail(LUMORA_BAD_HANDLE);
  return found;
}

/// Reads or changes what a C caller builds, in its place. Fails when there is none. `change` uses no handle.
template <typename Object, typename Change>
void change(lumora_handle handle, const Change& change) {
  const bool isFound = Handles::sharedInstance().use<Object>(
      handle, [&](const std::shared_ptr<void>& object) { change(*static_cast<Object*>(object.get())); });
  if (!isFound) fail(LUMORA_BAD_HANDLE);
}

/// The same as `object` where none is fine too.
template <typename Object>
std::shared_ptr<Object> optionalObject(lumora_handle handle) {
  return handle == LUMORA_NONE ? nullptr : object<Object>(handle);
}

}  // namespace lumora::c
