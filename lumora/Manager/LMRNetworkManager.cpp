// Requests to the service: their URLs and headers, and which answers count as accepted. The transport is the
// platform's URLLoader; what is asked and what an answer changes is for LumoraSync.cpp, LumoraDeepLinks.cpp
// and LMREventLoggerUpload.cpp.
#include "lumora/Manager/LMRNetworkManager.h"

#include <cassert>
#include <utility>

#include "lumora/Platform/JSON.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/LumoraConstants.h"
#include "lumora/Util/RunSecret.h"
#include "lumora/Util/UIDeviceAdditionalInfo.h"

namespace lumora {
namespace {

/// The scheme, the account identifier before the service's domain, and the endpoint path.
constexpr char kOstrelBaseURL[] = "https://{}." LUMORA_SERVICE_DOMAIN "/{}";
constexpr std::chrono::seconds postTimeout{10};

void addHeader(URLRequest& request, const char* name, std::optional<std::string> value) {
  if (value) request.headers.emplace_back(name, std::move(*value));
}

using Reason = LumoraError::Reason;

void setError(LumoraError* error, Reason reason, int code = 0, std::string message = "") {
  if (error) *error = {reason, code, std::move(message)};
}

/// Why nothing came that could be read.
void setErrorOfTransport(LumoraError* error, const URLResponse& response) {
  if (!CallGate::isOpen()) return setError(error, Reason::aborted);
  if (!response.error) return setError(error, Reason::malformedAnswer, response.statusCode);
  const bool isLoaders = response.error->domain == kURLErrorDomain;
  setError(error, Reason::network, isLoaders ? response.error->code : 0, response.error->description);
}

/// The answer's JSON; nothing, with a line, when it is none.
std::optional<Value> decodedAnswer(const URLResponse& response, LumoraError* error) {
  auto decoded = parseJSON(response.body);
  if (decoded && (decoded->asDictionary() || decoded->asList())) return decoded;
  logLine("LumoraSDK-Internal Error Occured");
  setError(error, Reason::malformedAnswer, response.statusCode);
  return std::nullopt;
}

/// The answer when the service accepted the request; otherwise its reason is logged.
std::optional<Dictionary> acceptedAnswer(const Value& decoded, int statusCode, LumoraError* error) {
  const Dictionary* answer = decoded.asDictionary();
  const Value* success = answer ? findValue(*answer, "success") : nullptr;
  if (success && success->isNumber() && success->boolValue()) return *answer;
  const Value* message = answer ? findValue(*answer, "error_message") : nullptr;
  logLine("LumoraSDK-{}",
          message ? message->description() : "Invalid response, please contact Lumora support.");
  setError(error, Reason::refused, statusCode, message ? message->description() : "");
  return std::nullopt;
}

bool hasBody(const URLResponse& response) {
  return !response.error && !response.body.empty();
}

}  // namespace

LMRNetworkManager& LMRNetworkManager::sharedInstance() {
  static auto* const instance = new LMRNetworkManager;
  return *instance;
}

std::optional<std::string> LMRNetworkManager::getBaseUrlWithEndPoint(const std::string& endPoint) const {
  const std::string tarrowID = LMRUtil::getStringForKey(kLmroTarrowID);
  if (tarrowID.empty()) {
    logLine("LumoraSDK-Tarrow ID is an empty string.{}", 0);
    return std::nullopt;
  }
  return fmt::format(kOstrelBaseURL, tarrowID, endPoint);
}

void LMRNetworkManager::setHeaders(URLRequest& request) const {
  auto& bundle = platform().bundle;
  auto& identifiers = UIDeviceAdditionalInfo::sharedInstance();
  addHeader(request, "lc", LMRUtil::getLocal());
  addHeader(request, "tz", LMRUtil::getTimeZone());
  addHeader(request, "p", "ios");
  addHeader(request, "sec", RunSecret::sharedInstance().get());
  addHeader(request, "sdkvr", std::string(kOstrelSDKVersionInt));
  addHeader(request, "appbd", bundle.infoValue(kBundleVersionKey));
  addHeader(request, "appver", bundle.infoValue(kBundleShortVersionKey));
  addHeader(request, "uuid", identifiers.installIdentifier());
  addHeader(request, "tduuid", identifiers.uniqueGlobalDeviceIdentifier());
}

std::optional<Dictionary> LMRNetworkManager::getDataFromEndpoint(const std::string& endPoint,
                                                                 LumoraError* error) {
  // Held over the request: one at a time, and nothing but a request waits for this lock.
  Lock lock(mutex_);
  if (!CallGate::isOpen()) {
    setError(error, Reason::aborted);
    return std::nullopt;
  }
  const auto url = getBaseUrlWithEndPoint(endPoint);
  if (!url) {
    logLine("LumoraSDK-Error creating request Url");
    setError(error, Reason::credentialsMissing);
    return std::nullopt;
  }
  logTrace({"-[LMRNetworkManager getDataFromEndpoint:]", 52}, "Getting data from end point {}", *url);

  URLRequest request;
  request.url = *url;
  request.timeout = std::chrono::seconds(timeoutInterval_);
  request.ignoresLocalCache = true;
  // Not the tag that is remembered below: only one that an earlier installation left under this key is sent.
  const Value etag = platform().settings.object(kOstrelEtagDefaultsKey);
  if (!etag.isNull()) addHeader(request, "If-None-Match", etag.description());
  addHeader(request, "Content-type", "text/plain");
  setHeaders(request);

  const URLResponse response = platform().urlLoader.load(request);
  if (!CallGate::isOpen()) {  // What it says comes too late.
    setError(error, Reason::aborted);
    return std::nullopt;
  }
  // No other status matters: what the answer says of itself decides.
  if (!hasBody(response)) {
    if (response.statusCode == 304) {
      logLine("LumoraSDK-No update available");
      setError(error, Reason::notModified, response.statusCode);
    } else {
      printErrorMessage(response.error);
      setErrorOfTransport(error, response);
    }
    return std::nullopt;
  }
  const auto decoded = decodedAnswer(response, error);
  if (!decoded) return std::nullopt;
  // Only for an answer that could be read: without a network the main thread is let off.
  assert(!platform().queues.isMainThread() && "the service must not be asked on the main thread");
  auto answer = acceptedAnswer(*decoded, response.statusCode, error);
  // An answer without a tag leaves the earlier one.
  if (answer) LMRUtil::setObject(response.header("Etag"), kLmroEtag);
  return answer;
}

std::optional<Dictionary> LMRNetworkManager::postDataSync(std::string data, const std::string& toEndpoint,
                                                          LumoraError* error) {
  Lock lock(mutex_);
  if (!CallGate::isOpen()) {
    setError(error, Reason::aborted);
    return std::nullopt;
  }
  const auto url = getBaseUrlWithEndPoint(toEndpoint);
  if (!url) {
    logLine("LumoraSDK-Error creating request Url");
    setError(error, Reason::credentialsMissing);
    return std::nullopt;
  }
  logTrace({"-[LMRNetworkManager postDataSync:toEndpoint:]", 136}, "Posting data to end point {}", *url);

  URLRequest request;
  request.url = *url;
  request.method = "POST";
  request.timeout = postTimeout;
  request.body = std::move(data);
  addHeader(request, "Content-type", "application/json");
  setHeaders(request);

  const URLResponse response = platform().urlLoader.load(request);
  if (!hasBody(response)) {
    printErrorMessage(response.error);
    setErrorOfTransport(error, response);
    return std::nullopt;
  }
  const auto decoded = decodedAnswer(response, error);
  return decoded ? acceptedAnswer(*decoded, response.statusCode, error) : std::nullopt;
}

void LMRNetworkManager::printErrorMessage(const std::optional<TransportError>& error) {
  Lock lock(mutex_);
  // An answer that is merely empty is no error of the transport.
  if (!error) return;
  std::string message = error->description;
  if (error->domain == kURLErrorDomain) {
    Bundle& bundle = platform().bundle;
    if (error->code == kURLErrorNotConnectedToInternet) {
      message = bundle.localizedString("Cannot connect to the Lumora, Please check network connectivity.");
    } else if (error->code == kURLErrorCannotConnectToHost || error->code == kURLErrorCannotFindHost) {
      message = bundle.localizedString("Cannot connect to Lumora.");
    }
  }
  logLine("LumoraSDK-{}", message);
}

}  // namespace lumora
