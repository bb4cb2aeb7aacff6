#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "lumora/Platform/Application.h"

namespace lumora_host {

/// What the command line says about the host application and its surroundings.
struct Options {
  std::string dataDirectory;
  /// Nothing: the host's own file in the person's data folder.
  std::optional<std::string> keychainFile;
  /// Nothing: the folder shipped with the host.
  std::optional<std::string> resourcesDirectory;
  std::string bundleIdentifier = "com.example.host";
  std::string appVersion = "1.0";
  std::string build = "1";
  /// `HOST:PORT`; empty: connections go where their URL says.
  std::string connectTo;
  /// Nothing: the system's certificate authorities.
  std::optional<std::string> certificateAuthorityFile;
  std::string model = "iPhone";
  std::string systemVersion = "10.3";
  /// Nothing: the host name.
  std::optional<std::string> deviceName;
  std::string localeIdentifier = "en_US";
  std::vector<std::string> languages = {"en-US"};
  std::optional<std::string> carrierName;
  /// Nothing: what `uname` answers.
  std::optional<std::string> machineIdentifier;
  lumora::ApplicationState state = lumora::ApplicationState::active;
  /// Nothing: commands come from standard input.
  std::optional<std::string> scriptFile;
};

/// An option that the host does not know, or a value that it cannot use.
class OptionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads the words after the program's name. Of an option given twice the last holds. Gives nothing when they
/// ask for help. Throws OptionError.
std::optional<Options> parseOptions(const std::vector<std::string>& words);

/// Every option with its meaning, a line each.
std::string optionsHelp();

/// The state of that name, or nothing.
std::optional<lumora::ApplicationState> applicationStateNamed(const std::string& name);

}  // namespace lumora_host
