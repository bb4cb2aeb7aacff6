// A line's words by the shell's rules of quoting, without its expansions. What the words mean is for
// Arguments and CommandRunner to say.
#include "hosts/terminal/CommandLine/ShellWords.h"

#include <utility>

namespace lumora_host {
namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t';
}

class Splitter {
 public:
  explicit Splitter(std::string_view line) : line_(line) {}

  std::vector<ShellWord> split() {
    std::vector<ShellWord> words;
    for (skipBlanks(); !atEnd(); skipBlanks()) words.push_back(readWord());
    return words;
  }

 private:
  bool atEnd() const { return position_ == line_.size(); }
  char take() { return line_[position_++]; }

  void skipBlanks() {
    while (!atEnd() && isBlank(line_[position_])) ++position_;
  }

  ShellWord readWord() {
    std::string text;
    bool isBare = true;
    while (!atEnd() && !isBlank(line_[position_])) {
      const char c = take();
      if (c == '\'') {
        readSingleQuoted(text);
      } else if (c == '"') {
        readDoubleQuoted(text);
      } else if (c == '\\') {
        text += takeEscaped();
      } else {
        text += c;
        continue;
      }
      isBare = false;
    }
    const bool isNil = isBare && text == "nil";
    return {std::move(text), isNil};
  }

  void readSingleQuoted(std::string& text) {
    const std::size_t end = line_.find('\'', position_);
    if (end == std::string_view::npos) throw ShellWordsError("a single quote is not closed");
    text += line_.substr(position_, end - position_);
    position_ = end + 1;
  }

  void readDoubleQuoted(std::string& text) {
    while (!atEnd()) {
      const char c = take();
      if (c == '"') return;
      if (c == '\\' && !atEnd() &&
          std::string_view("$`\"\\").find(line_[position_]) != std::string_view::npos) {
        text += take();
      } else {
        text += c;
      }
    }
    throw ShellWordsError("a double quote is not closed");
  }

  char takeEscaped() {
    if (atEnd()) throw ShellWordsError("the line ends after a backslash");
    return take();
  }

  const std::string_view line_;
  std::size_t position_ = 0;
};

}  // namespace

std::vector<ShellWord> splitShellWords(std::string_view line) {
  return Splitter(line).split();
}

}  // namespace lumora_host
