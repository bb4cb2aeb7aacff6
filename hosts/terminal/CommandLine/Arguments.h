#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "hosts/terminal/CommandLine/ShellWords.h"
#include "lumora/Platform/Value.h"

namespace lumora_host {

/// Why a command cannot be carried out. Thrown before the command has done anything.
class CommandError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The words after the command word, numbered from 0. What cannot be read as asked throws a CommandError.
class Arguments {
 public:
  explicit Arguments(std::vector<ShellWord> words) : words_(std::move(words)) {}

  std::size_t count() const { return words_.size(); }

  /// The word, or nothing for `nil` and for a word that was left out.
  std::optional<std::string> optionalText(std::size_t index) const;
  std::string text(std::size_t index) const;
  /// A whole number with an optional minus sign.
  long wholeNumber(std::size_t index) const;
  /// A number of seconds, not negative; fractions allowed.
  double seconds(std::size_t index) const;
  lumora::Value json(std::size_t index) const;
  /// A JSON object, or nothing for `nil` and for a word that was left out.
  std::optional<lumora::Dictionary> optionalObject(std::size_t index) const;

 private:
  std::vector<ShellWord> words_;
};

}  // namespace lumora_host
