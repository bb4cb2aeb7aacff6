#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace lumora_host {

/// One word of a command line.
struct ShellWord {
  std::string text;
  /// The word was written as a bare `nil`: it stands for an absent value.
  bool isNil = false;
};

/// A line that ends inside a quotation or after a backslash.
class ShellWordsError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Splits a line as a POSIX shell splits it, without expansions: blanks separate words, '…' and "…" quote,
/// a backslash takes the next character's meaning away (inside "…" only that of $ ` " \), and adjacent
/// pieces join. Any byte may stand in a line. Throws ShellWordsError.
std::vector<ShellWord> splitShellWords(std::string_view line);

}  // namespace lumora_host
