// One line of input: split, looked up, carried out, and answered by one line of output. The commands
// are in the sources beside this one.
#include "hosts/terminal/Commands/CommandRunner.h"

#include <utility>

#include "lumora/Platform/JSON.h"

namespace lumora_host {
namespace {

constexpr std::size_t kLongestReason = 300;

const Command& findCommand(const std::string& word, std::size_t argumentCount) {
  const auto command = commandTable().find(word);
  if (command == commandTable().end()) throw CommandError("unknown command: " + word);
  const auto& [fewest, most, run] = command->second;
  if (argumentCount < fewest || argumentCount > most) {
    throw CommandError(word + ": wrong number of words: " + std::to_string(argumentCount) +
                       " after the command");
  }
  return command->second;
}

CommandResult runCommand(Host& host, const std::string& word, std::vector<ShellWord> argumentWords) {
  const Command& command = findCommand(word, argumentWords.size());
  try {
    return command.run(host, Arguments(std::move(argumentWords)));
  } catch (const CommandError& error) {
    throw CommandError(word + ": " + error.what());
  }
}

/// Reasons quote the input, which may be long and need not be UTF-8.
std::string printable(std::string reason) {
  if (reason.size() > kLongestReason) reason.resize(kLongestReason);
  if (!lumora::isUTF8(reason)) {
    for (char& c : reason) {
      if (static_cast<unsigned char>(c) >= 0x80) c = '?';
    }
  }
  return reason;
}

}  // namespace

void CommandRunner::run(const std::string& line, long number) {
  if (line.starts_with('#')) return;
  try {
    std::vector<ShellWord> words = splitShellWords(line);
    if (words.empty()) return;
    const std::string word = words.front().text;
    words.erase(words.begin());
    const CommandResult result = runCommand(host_, word, std::move(words));
    if (host_.loop.isTerminated()) return;  // The command was cut short.
    JSONObject done;
    done.add("done", word);
    if (result) done.add("result", *result);
    output_.write(done);
  } catch (const std::runtime_error& error) {  // A CommandError or a ShellWordsError.
    hasFailed_ = true;
    output_.write(JSONObject().add("error", printable(error.what())).add("line", number));
  }
}

}  // namespace lumora_host
