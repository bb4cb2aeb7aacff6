// What the service answers to each path. It knows accounts and events, but neither connections nor
// misbehaviour, which Service.cpp sees to.
#include "service/Endpoints.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <vector>

#include "lumora/Platform/ASCII.h"
#include "service/Files.h"

namespace lumora::service {
namespace {

constexpr std::string_view kSyncPath = "/api/v1/sync/";
constexpr std::string_view kTestDevicePath = "/api/v1/test_device";
constexpr std::string_view kAssetsPath = "/assets/";

Answer success() {
  return {.body = R"({"success":true})"};
}

/// Percent escapes only: a plus sign in a query is a plus sign.
std::string percentDecoded(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isEscape = text[i] == '%' && i + 2 < text.size() && hexDigitValue(text[i + 1]) >= 0 &&
                          hexDigitValue(text[i + 2]) >= 0;
    result +=
        isEscape ? static_cast<char>(hexDigitValue(text[i + 1]) * 16 + hexDigitValue(text[i + 2])) : text[i];
    if (isEscape) i += 2;
  }
  return result;
}

/// The parameter's value in the request's query; empty without one.
std::string queryValue(const httplib::Request& request, std::string_view name) {
  const auto question = request.target.find('?');
  if (question == std::string::npos) return {};
  std::string_view rest = std::string_view(request.target).substr(question + 1);
  while (!rest.empty()) {
    const std::string_view pair = rest.substr(0, rest.find('&'));
    if (pair.starts_with(name) && pair.substr(name.size()).starts_with('=')) {
      return percentDecoded(pair.substr(name.size() + 1));
    }
    rest.remove_prefix(std::min(rest.size(), pair.size() + 1));
  }
  return {};
}

/// The events of a report, one JSON object per line; nothing when a line is none.
std::optional<std::vector<std::string_view>> eventsOf(std::string_view body) {
  std::vector<std::string_view> events;
  while (!body.empty()) {
    const std::string_view line = body.substr(0, body.find('\n'));
    if (!line.starts_with('{') || !JSON::accept(line)) return std::nullopt;
    events.push_back(line);
    body.remove_prefix(std::min(body.size(), line.size() + 1));
  }
  return events;
}

std::string contentTypeOf(const std::filesystem::path& file) {
  constexpr std::array<std::pair<std::string_view, const char*>, 6> types{{{".png", "image/png"},
                                                                           {".jpg", "image/jpeg"},
                                                                           {".jpeg", "image/jpeg"},
                                                                           {".gif", "image/gif"},
                                                                           {".webp", "image/webp"},
                                                                           {".html", "text/html"}}};
  const std::string extension = file.extension();
  for (const auto& [known, type] : types) {
    if (equalsIgnoringCase(extension, known)) return type;
  }
  return "application/octet-stream";
}

/// An account without a secret lets nobody in.
bool isSecretOf(const Account& account, std::string_view text) {
  return !account.secret.empty() && text == account.secret;
}

}  // namespace

std::string_view endpointOf(std::string_view path) {
  if (path.starts_with(kSyncPath)) return "sync";
  if (path == kReportPath) return "report";
  if (path == kTestDevicePath) return "test_device";
  if (path.starts_with(kAssetsPath)) return "assets";
  return {};
}

Answer refusal(std::string_view message, int status) {
  const JSON body{{"success", false}, {"error_message", message}};
  return {.status = status,
          .body = body.dump(-1, ' ', false, JSON::error_handler_t::replace),
          .refusal = std::string(message)};
}

Endpoints::Endpoints(EventArchive& archive, std::string assetsDirectory)
    : archive_(archive), assetsDirectory_(std::move(assetsDirectory)) {}

Answer Endpoints::answer(const httplib::Request& request, std::string_view body, const Account* account) {
  const std::string_view endpoint = endpointOf(request.path);
  if (endpoint.empty()) return refusal("There is nothing at this path.", 404);
  if (request.method != (endpoint == "report" ? "POST" : "GET")) return refusal("Wrong method.", 405);
  if (endpoint == "assets") return asset(request.path.substr(kAssetsPath.size()));
  if (account == nullptr) {
    Answer unknown = refusal("Unknown account.");
    unknown.refusal +=
        " The accounts file has none for the host \"" + request.get_header_value("Host") + "\".";
    return unknown;
  }
  if (endpoint == "sync") return sync(request, *account);
  if (endpoint == "report") return report(request, body, *account);
  return registerTestDevice(request, *account);
}

Answer Endpoints::sync(const httplib::Request& request, const Account& account) {
  if (!isSecretOf(account, request.path.substr(kSyncPath.size()))) return refusal("Wrong secret.");
  if (request.get_header_value("If-None-Match") == account.syncTag)
    return {.status = 304, .tag = account.syncTag};
  return {.body = account.syncAnswer, .tag = account.syncTag};
}

Answer Endpoints::report(const httplib::Request& request, std::string_view body, const Account& account) {
  if (!isSecretOf(account, request.get_header_value("sec"))) return refusal("Wrong secret.");
  if (account.isInSecureMode) {
    if (queryValue(request, "ak") != account.accessKey) return refusal("Wrong access key.");
    for (const char* name : {"sign", "ts", "email"}) {
      if (queryValue(request, name).empty()) return refusal("Missing security signature.");
    }
  }
  const auto events = eventsOf(body);
  if (!events) return refusal("A line of the report is not a JSON object.");
  if (!archive_.storeEvents(account.id, request.get_header_value("uuid"), *events)) {
    return refusal("The events could not be stored.");
  }
  Answer answer = success();
  answer.events = events->size();
  return answer;
}

Answer Endpoints::registerTestDevice(const httplib::Request& request, const Account& account) {
  const TestDevice device{queryValue(request, "name"), queryValue(request, "push_token"),
                          queryValue(request, "token"), queryValue(request, "device_type")};
  if (device.name.empty() || device.registrationToken.empty()) return refusal("Missing name or token.");
  if (!archive_.registerTestDevice(account.id, device)) return refusal("The device name is already used.");
  return success();
}

Answer Endpoints::asset(const std::string& name) const {
  const std::filesystem::path file = std::filesystem::path(assetsDirectory_) / name;
  std::error_code error;
  if (!isPlainFileName(name) || !std::filesystem::is_regular_file(file, error)) {
    return refusal("There is no such asset.", 404);
  }
  return {.body = readFile(file.string()).value_or(""), .contentType = contentTypeOf(file)};
}

}  // namespace lumora::service
