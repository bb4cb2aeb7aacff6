// The words of a command as the kinds of value that it wants. Every refusal is a CommandError, before
// anything has been done.
#include "hosts/terminal/CommandLine/Arguments.h"

#include <charconv>
#include <cmath>

#include "lumora/Platform/JSON.h"

namespace lumora_host {
namespace {

/// More than any wait or any shift of the clock can mean, and small enough for every time type.
constexpr double kMostSeconds = 1e10;

template <typename Number>
std::optional<Number> parseNumber(const std::string& text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace

std::optional<std::string> Arguments::optionalText(std::size_t index) const {
  if (index >= words_.size() || words_[index].isNil) return std::nullopt;
  return words_[index].text;
}

std::string Arguments::text(std::size_t index) const {
  auto text = optionalText(index);
  if (!text) throw CommandError("a text is needed here, not nil");
  return *std::move(text);
}

long Arguments::wholeNumber(std::size_t index) const {
  const std::string word = text(index);
  const auto number = parseNumber<long>(word);
  if (!number) throw CommandError("not a whole number: " + word);
  return *number;
}

double Arguments::seconds(std::size_t index) const {
  const std::string word = text(index);
  const auto number = parseNumber<double>(word);
  if (!number || !std::isfinite(*number) || *number < 0 || *number > kMostSeconds) {
    throw CommandError("not a number of seconds: " + word);
  }
  return *number;
}

lumora::Value Arguments::json(std::size_t index) const {
  const std::string word = text(index);
  auto value = lumora::parseJSON(word);
  if (!value) throw CommandError("not JSON: " + word);
  return *std::move(value);
}

std::optional<lumora::Dictionary> Arguments::optionalObject(std::size_t index) const {
  if (!optionalText(index)) return std::nullopt;
  const lumora::Value value = json(index);
  if (value.asDictionary() == nullptr) throw CommandError("not a JSON object: " + text(index));
  return *value.asDictionary();
}

}  // namespace lumora_host
