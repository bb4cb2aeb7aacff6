#include "hosts/terminal/Options.h"

#include <unistd.h>

#include <charconv>
#include <filesystem>
#include <functional>
#include <map>
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

const std::map<std::string_view, Reader>& readers() {
  static const std::map<std::string_view, Reader> table{
      {"--data", text(&Options::dataDirectory)},
      {"--keychain", readKeychain},
      {"--resources", optionalText(&Options::resourcesDirectory)},
      {"--bundle-id", text(&Options::bundleIdentifier)},
      {"--app-version", text(&Options::appVersion)},
      {"--build", text(&Options::build)},
      {"--connect", readConnectTo},
      {"--ca", optionalText(&Options::certificateAuthorityFile)},
      {"--model", text(&Options::model)},
      {"--system-version", text(&Options::systemVersion)},
      {"--device-name", optionalText(&Options::deviceName)},
      {"--locale", text(&Options::localeIdentifier)},
      {"--languages", readLanguages},
      {"--carrier", readCarrier},
      {"--machine", optionalText(&Options::machineIdentifier)},
      {"--state", readState},
      {"--script", optionalText(&Options::scriptFile)},
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

Options parseOptions(const std::vector<std::string>& words) {
  Options options;
  for (std::size_t i = 0; i < words.size(); i += 2) {
    const auto reader = readers().find(words[i]);
    if (reader == readers().end()) throw OptionError("unknown option: " + words[i]);
    if (i + 1 == words.size()) throw OptionError(words[i] + " needs a value");
    reader->second(options, words[i + 1]);
  }
  checkFiles(options);
  return options;
}

std::optional<lumora::ApplicationState> applicationStateNamed(const std::string& name) {
  if (name == "active") return lumora::ApplicationState::active;
  if (name == "inactive") return lumora::ApplicationState::inactive;
  if (name == "background") return lumora::ApplicationState::background;
  return std::nullopt;
}

}  // namespace lumora_host
