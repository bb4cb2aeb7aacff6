#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tests/end_to_end/Process.h"

namespace lumora_end_to_end {

using Lines = std::vector<nlohmann::json>;

/// A running lumora-host, with its data and its keychain in a test's folder. Another one made on the same
/// folder is the same application's next start.
class HostProcess {
 public:
  explicit HostProcess(const std::filesystem::path& folder, const std::vector<std::string>& options = {});

  /// Sends a command and gives every line up to and including the one that ends it ("done" or "error").
  Lines run(std::string_view command);
  /// Sends a command that must succeed and gives its result; null when it has none.
  nlohmann::json result(std::string_view command);
  /// Sends commands that must succeed, one per line.
  void runAll(std::string_view commands);
  /// Sends `quit` and gives the exit status.
  int quit();
  Process& process() { return process_; }

  static std::filesystem::path dataFolder(const std::filesystem::path& folder) { return folder / "data"; }

 private:
  Process process_;
};

/// The words that start a host on that folder.
std::vector<std::string> hostCommand(const std::filesystem::path& folder,
                                     const std::vector<std::string>& options);

/// Every line that is left.
Lines readToEnd(Process& process);

/// The lines that hold that member.
Lines linesWith(const Lines& lines, std::string_view member);

}  // namespace lumora_end_to_end
