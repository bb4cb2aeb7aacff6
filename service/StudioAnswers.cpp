// The answers to the studio's page, by a table of paths. What happens meanwhile is told in Studio.cpp.
#include <algorithm>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <utility>

#include "lumora/Platform/ASCII.h"
#include "service/CampaignVerdict.h"
#include "service/DeepLink.h"
#include "service/Files.h"
#include "service/Pictures.h"
#include "service/Studio.h"

namespace lumora::service {
namespace {

namespace fs = std::filesystem;

StudioAnswer answerWith(const JSON& body, int status = 200) {
  return {.status = status, .body = body.dump(-1, ' ', false, JSON::error_handler_t::replace)};
}

StudioAnswer refused(std::string_view reason, int status = 400) {
  return answerWith({{"error", reason}}, status);
}

std::string textOf(const JSON& arguments, const char* name) {
  const auto found = arguments.find(name);
  return found != arguments.end() && found->is_string() ? found->get<std::string>() : std::string();
}

/// Numbers of a query are texts.
double numberOf(const JSON& arguments, const char* name, double otherwise = 0) {
  const auto found = arguments.find(name);
  if (found == arguments.end()) return otherwise;
  if (found->is_number()) return found->get<double>();
  return found->is_string() ? std::strtod(found->get_ref<const std::string&>().c_str(), nullptr) : otherwise;
}

std::int64_t wholeNumberOf(const JSON& arguments, const char* name, std::int64_t otherwise,
                           std::int64_t most) {
  const double number = numberOf(arguments, name, static_cast<double>(otherwise));
  return number >= 0 && number <= static_cast<double>(most) ? static_cast<std::int64_t>(number) : otherwise;
}

constexpr std::int64_t kAnyNumber = 1LL << 52;

PhoneSettings wantedSettings(const JSON& arguments) {
  PhoneSettings settings;
  const auto take = [&arguments](std::string& field, const char* name) {
    if (const std::string text = textOf(arguments, name); !text.empty()) field = text;
  };
  settings.name = "Phone";
  take(settings.name, "name");
  take(settings.account, "account");
  take(settings.model, "model");
  take(settings.systemVersion, "system");
  take(settings.version, "version");
  take(settings.build, "build");
  return settings;
}

CommandWords wordsOf(const JSON& arguments) {
  CommandWords words;
  for (const JSON& word : arguments.value("words", JSON::array())) {
    if (!word.is_string() && !word.is_null())
      throw std::runtime_error("A command's words are texts, or null.");
    words.push_back(word.is_null() ? std::nullopt : std::optional(word.get<std::string>()));
  }
  return words;
}

/// A name that is the same in a file system and in an address.
std::string assetNameOf(const std::string& wanted, std::string_view type) {
  std::string name;
  for (const char c : wanted.substr(0, wanted.find_last_of('.'))) {
    const bool isPlain = isASCIILetter(c) || isASCIIDigit(c) || c == '-' || c == '_';
    if (name.size() < 80) name += isPlain ? c : '-';
  }
  const std::string_view kind = type.substr(type.find('/') + 1);
  return (name.empty() ? "picture" : name) + '.' + std::string(kind == "jpeg" ? "jpg" : kind);
}

constexpr std::string_view kCertificates[] = {"good", "expired", "wrong-host", "other-ca"};

std::string_view nameOf(CertificateKind kind) {
  return *std::ranges::find(kCertificates, kind, certificateKindOf);
}

/// A star stands for any one part of the path.
bool fits(const std::vector<std::string>& path, std::initializer_list<std::string_view> pattern) {
  return path.size() == pattern.size() && std::equal(pattern.begin(), pattern.end(), path.begin(),
                                                     [](std::string_view wanted, const std::string& part) {
                                                       return wanted == "*" || wanted == part;
                                                     });
}

}  // namespace

struct Studio::Route {
  std::string_view method;
  std::initializer_list<std::string_view> path;
  Handler handler;
};

StudioAnswer Studio::answer(const StudioRequest& request) {
  static const Route routes[] = {{"GET", {"state"}, &Studio::state},
                                 {"GET", {"events"}, &Studio::events},
                                 {"GET", {"events", "*"}, &Studio::event},
                                 {"GET", {"timeline"}, &Studio::timeline},
                                 {"POST", {"phones"}, &Studio::addPhone},
                                 {"POST", {"phones", "*", "*"}, &Studio::changePhone},
                                 {"GET", {"phones", "*", "*"}, &Studio::lookAtPhone},
                                 {"GET", {"accounts"}, &Studio::accounts},
                                 {"POST", {"accounts"}, &Studio::changeAccounts},
                                 {"POST", {"verdict"}, &Studio::verdict},
                                 {"GET", {"assets"}, &Studio::assets},
                                 {"GET", {"assets", "*"}, &Studio::asset},
                                 {"POST", {"assets", "*"}, &Studio::addAsset},
                                 {"GET", {"test-devices"}, &Studio::testDevices},
                                 {"GET", {"link"}, &Studio::link},
                                 {"GET", {"faults"}, &Studio::faults}};
  for (const Route& route : routes) {
    if (route.method != request.method || !fits(request.path, route.path)) continue;
    try {
      return (this->*route.handler)(request);
    } catch (const std::exception& error) {
      return refused(error.what());
    }
  }
  return refused("There is nothing at this path.", 404);
}

StudioAnswer Studio::state(const StudioRequest& /*request*/) {
  // Taken first: what happens from here on comes by the feed as well, rather twice than never.
  JSON state{{"feed", feed_.last()}};
  state["service"] = {{"port", service_.port()},
                      {"domain", options_.domain},
                      {"authority", service_.certificateAuthorityFile()}};
  state["phones"] = phones_.descriptions();
  state["accounts"] = editor_.read();
  const Lock lock(mutex_);
  state["requests"] = requests_;
  state["events"] = {{"total", eventCount_}, {"last", lastEvent_}};
  return answerWith(state);
}

std::shared_ptr<Phone> Studio::phoneOf(const StudioRequest& request) const {
  const auto phone = phones_.find(static_cast<int>(std::strtol(request.path.at(1).c_str(), nullptr, 10)));
  if (!phone) throw std::runtime_error("There is no such phone.");
  return phone;
}

StudioAnswer Studio::addPhone(const StudioRequest& request) {
  const auto phone = phones_.add(wantedSettings(request.arguments));
  return answerWith(phone->description());
}

void Studio::launch(Phone& phone, const JSON& arguments) {
  const std::string given = textOf(arguments, "account");
  const std::string account = given.empty() ? phone.settings().account : given;
  const std::string options = textOf(arguments, "options");
  const std::string secret = editor_.secretOf(account);
  if (secret.empty())
    throw std::runtime_error("The accounts file has no account \"" + account + "\" with a secret.");
  phone.launch(account, secret, options.empty() ? std::nullopt : std::optional(options));
}

StudioAnswer Studio::changePhone(const StudioRequest& request) {
  const auto phone = phoneOf(request);
  const std::string& what = request.path.at(2);
  const JSON& arguments = request.arguments;
  if (what == "command") {
    JSON result = phone->run(wordsOf(arguments));
    try {
      phones_.save();
    } catch (const std::exception& error) {
      // It is done all the same.
      result["unsaved"] = error.what();
    }
    return answerWith(result);
  }
  if (what == "launch") {
    launch(*phone, arguments);
  } else if (what == "kill") {
    phone->kill();
  } else if (what == "quit") {
    phone->quit();
  } else if (what == "update") {
    phone->quit();
    const PhoneSettings wanted = wantedSettings(arguments);
    phone->setVersion(wanted.version, wanted.build);
    launch(*phone, arguments);
  } else if (what == "reinstall") {
    phone->kill();
    phone->removeData();
    launch(*phone, arguments);
  } else if (what == "remove") {
    phones_.remove(phone->settings().id);
  } else {
    return refused("A phone cannot do that.", 404);
  }
  phones_.save();
  return answerWith(phone->description());
}

StudioAnswer Studio::lookAtPhone(const StudioRequest& request) {
  const auto phone = phoneOf(request);
  const std::string& what = request.path.at(2);
  if (what == "screen") return answerWith(phone->screen());
  if (what == "storage") return answerWith(phone->storage());
  if (what != "log") return refused("A phone has no such thing.", 404);
  return answerWith(
      phone->log(static_cast<std::uint64_t>(wholeNumberOf(request.arguments, "after", 0, kAnyNumber))));
}

StudioAnswer Studio::events(const StudioRequest& request) {
  const JSON& wanted = request.arguments;
  const EventFilter filter{textOf(wanted, "account"), textOf(wanted, "device"), textOf(wanted, "kind"),
                           textOf(wanted, "name"), textOf(wanted, "search")};
  constexpr std::int64_t most = 500;
  return answerWith(queries_.page(filter, wholeNumberOf(wanted, "position", 0, kAnyNumber),
                                  wholeNumberOf(wanted, "count", 100, most)));
}

StudioAnswer Studio::event(const StudioRequest& request) {
  const JSON event = queries_.event(std::strtoll(request.path.at(1).c_str(), nullptr, 10));
  return event.is_null() ? refused("There is no such event.", 404) : answerWith(event);
}

StudioAnswer Studio::timeline(const StudioRequest& request) {
  const double from = numberOf(request.arguments, "from");
  const double to = numberOf(request.arguments, "to", from + 1);
  constexpr std::int64_t most = 2000;
  const auto parts = static_cast<int>(wholeNumberOf(request.arguments, "parts", 100, most));
  return answerWith({{"counts", queries_.counts(from, to, parts)}, {"devices", queries_.devices()}});
}

StudioAnswer Studio::accounts(const StudioRequest& /*request*/) {
  return answerWith(editor_.read());
}

StudioAnswer Studio::changeAccounts(const StudioRequest& request) {
  const auto outcome =
      editor_.change(textOf(request.arguments, "revision"), request.arguments.value("changes", JSON()));
  if (outcome.kind == AccountsEditor::Outcome::changedMeanwhile) return refused(outcome.reason, 409);
  if (outcome.kind == AccountsEditor::Outcome::refused) return refused(outcome.reason);
  return answerWith(editor_.read());
}

StudioAnswer Studio::verdict(const StudioRequest& request) {
  return answerWith(CampaignVerdict::of(request.body));
}

StudioAnswer Studio::assets(const StudioRequest& /*request*/) {
  JSON names = JSON::array();
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(options_.assetsDirectory, error)) {
    if (entry.is_regular_file(error) && names.size() < 500) names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return answerWith(names);
}

StudioAnswer Studio::asset(const StudioRequest& request) {
  const std::string& name = request.path.at(1);
  const auto bytes =
      isPlainFileName(name) ? pictureBytes(options_.assetsDirectory + '/' + name) : std::nullopt;
  const std::string_view type = bytes ? pictureType(*bytes) : "";
  if (type.empty()) return refused("There is no such picture.", 404);
  return {.body = *bytes, .contentType = std::string(type)};
}

StudioAnswer Studio::addAsset(const StudioRequest& request) {
  const std::string_view type = pictureType(request.body);
  if (type.empty()) return refused("Pictures are PNG, JPEG, GIF or WebP.");
  const std::string name = assetNameOf(request.path.at(1), type);
  std::error_code error;
  fs::create_directories(options_.assetsDirectory, error);
  writePrivateFile(options_.assetsDirectory + '/' + name, request.body);
  return answerWith({{"name", name}});
}

StudioAnswer Studio::testDevices(const StudioRequest& /*request*/) {
  return answerWith(queries_.testDevices());
}

StudioAnswer Studio::link(const StudioRequest& request) {
  const std::string account = textOf(request.arguments, "account");
  const std::string secret = editor_.secretOf(account);
  if (secret.empty()) return refused("The account has no secret.");
  return answerWith({{"link", deepLink(account, secret)}});
}

StudioAnswer Studio::faults(const StudioRequest& request) {
  return answerWith({{"strikes", service_.strikes(textOf(request.arguments, "account"))},
                     {"certificate", nameOf(service_.certificate())},
                     {"failedHandshakes", service_.failedHandshakes()}});
}

}  // namespace lumora::service
