// The command line: its options as a table, from which the help is printed too. What they set in the platform
// is in HostPlatform.cpp.
#include "hosts/terminal/Options.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <functional>
#include <string_view>

namespace lumora_host {
namespace {

using Reader = std::function<void(Options&, const std::string& value)>;

Reader text(std::string Options::*field) {
  return [field](Options& options, const std::string& value) { options.*field = value; };
}

Reader optionalText(std::optional<std::string> Options::*field) {
  return [field](Options& options, const std::string& value) { options.*field = value; };
}

bool isPort(std::string_view text) {
  unsigned port = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  return error == std::errc() && stop == text.data() + text.size() && port >= 1 && port <= 65535;
}

/// A host name or IPv4 address, or an IPv6 address in brackets.
bool isHost(std::string_view text) {
  if (text.starts_with('[')) return text.size() > 2 && text.ends_with(']');
  return !text.empty() && text.find_first_of(": \t/") == std::string_view::npos;
}

void readConnectTo(Options& options, const std::string& value) {
  const std::size_t colon = value.rfind(':');
  if (colon == std::string::npos || !isHost(std::string_view(value).substr(0, colon)) ||
      !isPort(std::string_view(value).substr(colon + 1))) {
    throw OptionError("--connect needs HOST:PORT, not " + value);
  }
  options.connectTo = value;
}

void readLanguages(Options& options, const std::string& value) {
  options.languages.clear();
  for (std::size_t start = 0; start <= value.size();) {
    const std::size_t end = std::min(value.find(',', start), value.size());
    if (end == start) throw OptionError("--languages needs language tags between commas, not " + value);
    options.languages.push_back(value.substr(start, end - start));
    start = end + 1;
  }
}

void readCarrier(Options& options, const std::string& value) {
  options.carrierName = value.empty() ? std::nullopt : std::optional(value);
}

void readState(Options& options, const std::string& value) {
  const auto state = applicationStateNamed(value);
  if (!state) throw OptionError("--state is active, inactive or background, not " + value);
  options.state = *state;
}

void readKeychain(Options& options, const std::string& value) {
  // No file can have an empty name, and a keychain that cannot be written is one that refuses.
  options.keychainFile = value.empty() ? "/dev/null/keychain" : value;
}

struct Option {
  std::string_view name;
  std::string_view value;
  std::string_view meaning;
  Reader read;
};

const std::vector<Option>& allOptions() {
  static const std::vector<Option> table{
      {"--data", "DIR", "the host application's own data, made when missing; required",
       text(&Options::dataDirectory)},
      {"--keychain", "FILE",
       "the keychain's file, outside of --data; $XDG_DATA_HOME/lumora-host/keychain when not given",
       readKeychain},
      {"--resources", "DIR",
       "the folder with LMRResources.bundle; the one shipped with the host when not given",
       optionalText(&Options::resourcesDirectory)},
      {"--bundle-id", "ID", "the bundle identifier (com.example.host)", text(&Options::bundleIdentifier)},
      {"--app-version", "V", "the application's version (1.0)", text(&Options::appVersion)},
      {"--build", "B", "the bundle version (1)", text(&Options::build)},
      {"--connect", "HOST:PORT", "where every connection goes, whatever its URL says", readConnectTo},
      {"--ca", "FILE", "the certificate authorities to trust, as PEM, instead of the system's",
       optionalText(&Options::certificateAuthorityFile)},
      {"--model", "NAME", "the device's model (iPhone)", text(&Options::model)},
      {"--system-version", "V", "the system's version (10.3)", text(&Options::systemVersion)},
      {"--device-name", "NAME", "the device's name; the host name when not given",
       optionalText(&Options::deviceName)},
      {"--locale", "ID", "the locale (en_US)", text(&Options::localeIdentifier)},
      {"--languages", "A,B", "the preferred languages (en-US)", readLanguages},
      {"--carrier", "NAME", "the cellular carrier; none when empty or not given", readCarrier},
      {"--machine", "ID", "the machine; what uname says when not given",
       optionalText(&Options::machineIdentifier)},
      {"--state", "STATE", "active, inactive or background: the state at launch (active)", readState},
      {"--script", "FILE", "commands from FILE instead of standard input",
       optionalText(&Options::scriptFile)},
  };
  return table;
}

bool isReadableFile(const std::string& path) {
  std::error_code error;
  return !std::filesystem::is_directory(path, error) && ::access(path.c_str(), R_OK) == 0;
}

void checkFiles(const Options& options) {
  if (options.dataDirectory.empty()) throw OptionError("--data DIR is required");
  std::error_code error;
  if (options.resourcesDirectory && !std::filesystem::is_directory(*options.resourcesDirectory, error)) {
    throw OptionError("--resources needs a folder, not " + *options.resourcesDirectory);
  }
  if (options.certificateAuthorityFile && !isReadableFile(*options.certificateAuthorityFile)) {
    throw OptionError("--ca cannot be read: " + *options.certificateAuthorityFile);
  }
  if (options.scriptFile && !isReadableFile(*options.scriptFile)) {
    throw OptionError("--script cannot be read: " + *options.scriptFile);
  }
}

}  // namespace

std::optional<Options> parseOptions(const std::vector<std::string>& words) {
  Options options;
  for (std::size_t i = 0; i < words.size(); i += 2) {
    if (words[i] == "--help") return std::nullopt;
    const auto option = std::ranges::find(allOptions(), words[i], &Option::name);
    if (option == allOptions().end()) throw OptionError("unknown option: " + words[i]);
    if (i + 1 == words.size()) throw OptionError(words[i] + " needs a value");
    option->read(options, words[i + 1]);
  }
  checkFiles(options);
  return options;
}

std::string optionsHelp() {
  std::string help = "lumora-host --data DIR [options] [--script FILE]\n\n";
  const auto add = [&help](const std::string& left, std::string_view right) {
    constexpr std::size_t column = 24;
    help.append("  ").append(left).append(column - left.size(), ' ').append(right).append("\n");
  };
  for (const auto& [name, value, meaning, read] : allOptions())
    add(std::string(name) + " " + std::string(value), meaning);
  add("--help", "prints this");
  return help;
}

std::optional<lumora::ApplicationState> applicationStateNamed(const std::string& name) {
  if (name == "active") return lumora::ApplicationState::active;
  if (name == "inactive") return lumora::ApplicationState::inactive;
  if (name == "background") return lumora::ApplicationState::background;
  return std::nullopt;
}

}  // namespace lumora_host
