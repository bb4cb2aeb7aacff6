// What every function does with what C hands it.
#include "lumora/C/Arguments.h"

#include <algorithm>
#include <array>
#include <new>

#include "lumora/Platform/JSON.h"
#include "lumora/Util/LumoraConstants.h"

namespace lumora::c {
namespace {

struct Failure {
  lumora_result result;
};

}  // namespace

void fail(lumora_result result) {
  throw Failure{result};
}

lumora_result resultOfException() noexcept {
  try {
    throw;
  } catch (const Failure& failure) {
    return failure.result;
  } catch (const std::bad_alloc&) {
    return LUMORA_OUT_OF_MEMORY;
  } catch (...) {
    return LUMORA_INTERNAL_ERROR;
  }
}

std::optional<std::string_view> borrowedText(lumora_text text) {
  if (text.bytes == nullptr) {
    if (text.length != 0) fail(LUMORA_BAD_TEXT);
    return std::nullopt;
  }
  const std::string_view bytes(text.bytes, text.length);
  if (!isUTF8(bytes)) fail(LUMORA_BAD_TEXT);
  return bytes;
}

std::optional<std::string> optionalText(lumora_text text) {
  const auto borrowed = borrowedText(text);
  if (!borrowed) return std::nullopt;
  return std::optional<std::string>(std::in_place, *borrowed);
}

std::string requiredText(lumora_text text) {
  auto read = optionalText(text);
  if (!read) fail(LUMORA_BAD_TEXT);
  return *std::move(read);
}

std::optional<Data> optionalData(lumora_data data) {
  if (data.bytes == nullptr) {
    if (data.length != 0) fail(LUMORA_BAD_ARGUMENT);
    return std::nullopt;
  }
  return Data(data.bytes, data.bytes + data.length);
}

void give(std::string_view text, char* buffer, std::size_t capacity, std::size_t* length) {
  if (length != nullptr) *length = text.size();
  if (buffer == nullptr && capacity == 0) return;
  if (buffer == nullptr) fail(LUMORA_BAD_ARGUMENT);
  if (text.size() >= capacity) fail(LUMORA_BUFFER_TOO_SMALL);
  std::ranges::copy(text, buffer);
  buffer[text.size()] = '\0';
}

}  // namespace lumora::c

using namespace lumora::c;

const char* lumora_result_text(lumora_result result) {
  static constexpr std::array kTexts{
      "done",
      "the handle is none, was freed, or is one of another kind",
      "the text is missing or is not UTF-8",
      "an argument is null, of an unknown size, or out of its range",
      "the text is not the JSON that is needed",
      "the buffer is too small for the text and its NUL",
      "the library is in use already: install it once, before anything else",
      "only the main thread may do this",
      "memory is lacking",
      "a fault of the library; please report it",
      "maps and lists are nested deeper than 512, or than 511 in an action",
  };
  const auto index = static_cast<std::size_t>(-std::int64_t{result});
  return index < kTexts.size() ? kTexts.at(index) : "a result of another version of the library";
}

const char* lumora_version(void) {
  return lumora::kOstrelSDKVersion.data();
}

lumora_text lumora_string(const char* string) {
  return string == nullptr ? lumora_text{nullptr, 0} : view(std::string_view(string));
}

lumora_result lumora_free(lumora_handle object) {
  return guarded([&] {
    if (object != LUMORA_NONE && !Handles::sharedInstance().remove(object)) fail(LUMORA_BAD_HANDLE);
  });
}
