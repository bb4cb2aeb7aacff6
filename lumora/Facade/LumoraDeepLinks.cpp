// Links that make this a test device: the link with the account's secret and a token for one registration,
// the question for the device's name, and the request. URL takes links apart, the platform's Alerts shows
// what is asked.
#include <algorithm>
#include <new>
#include <utility>
#include <vector>

#include "lumora/Facade/Lumora.h"
#include "lumora/Manager/LMRNetworkManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/LostCall.h"
#include "lumora/Util/UIDeviceAdditionalInfo.h"

namespace lumora {
namespace {

/// What the scheme begins with; the account's identifier follows.
constexpr std::string_view linkScheme = "lmro";
constexpr std::string_view kLmroAddTestDevice = "add_test_device";
constexpr const char* kLmroApiAddTestDevice = "api/v1/test_device";
constexpr const char* alertTitle = "Lumora";
constexpr int addDeviceAlertTag = 101;
constexpr int yesButtonIndex = 1;

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const auto end = std::min(text.find(separator), text.size());
    parts.push_back(text.substr(0, end));
    if (end == text.size()) return parts;
    text.remove_prefix(end + 1);
  }
}

using Parameters = std::map<std::string, std::string, std::less<>>;

/// Escapes are replaced before the query is split, so an escaped separator divides a value. A query that
/// cannot be decoded has no parameters.
Parameters parametersOf(const std::string& query) {
  Parameters parameters;
  const std::string decoded = percentDecoded(query).value_or("");
  for (const std::string_view piece : split(decoded, '&')) {
    const auto parts = split(piece, '=');
    // Of a name given twice the last value holds; what follows a second "=" is left out.
    if (parts.size() >= 2) parameters.insert_or_assign(std::string(parts[0]), std::string(parts[1]));
  }
  return parameters;
}

}  // namespace

bool Lumora::applicationOpenURL(const URL& url) try {
  if (!CallGate::admits()) return false;
  if (!url.scheme().value_or("").starts_with(linkScheme)) {
    logLine("LumoraSDK-Deep link received but lmro url scheme not found.");
    return false;
  }
  const auto query = url.query();
  if (!query) {
    logLine("LumoraSDK-Deep link query parametere not found");
    show("Deep link query parametere not found!", alertTitle);
    return false;
  }
  if (url.host() != kLmroAddTestDevice) {
    logLine("LumoraSDK-Deep link host not matched expected {}, got {}", kLmroAddTestDevice,
            textOrNull(url.host()));
    show("Deep link host not matched!", alertTitle);
    return false;
  }
  return acceptDeepLink(*query);
} catch (const std::bad_alloc&) {
  tellLostCall("applicationOpenURL");
  return false;
}

bool Lumora::acceptDeepLink(const std::string& query) {
  const Parameters parameters = parametersOf(query);
  const auto secret = parameters.find("secret");
  if (secret == parameters.end()) {
    logLine("LumoraSDK-Deep link secret query parametere not found");
    show("Deep link secret query parametere not found!", alertTitle);
    return false;
  }
  // The stored secret serves a link that starts the application, before this run has initialised.
  if (secret->second != appSecret() && Value(secret->second) != platform().settings.object(kLmroAppSecret)) {
    show("The URL does not match this application.", alertTitle);
    logLine("LumoraSDK-Deep link secretkey not matched");
    return false;
  }
  const auto token = parameters.find("token");
  if (token == parameters.end()) {
    logLine("LumoraSDK-Deep link token query parametere not found");
    show("Deep link token query parametere not found!", alertTitle);
    return false;
  }
  setToken(token->second);
  platform().queues.mainQueue().async([this] { showDialog(); });
  logLine("LumoraSDK-Deep link triggerd successfully");
  return true;
}

void Lumora::showDialog() {
  if (!CallGate::isOpen()) return;
  Alert prompt;
  prompt.tag = addDeviceAlertTag;
  prompt.title = alertTitle;
  prompt.message = "Add this device as Test Device?";
  prompt.buttons = {"No", "Yes"};
  prompt.textField = LMRUtil::getDeviceName();
  prompt.onButton = [this, tag = prompt.tag](int index, const std::string& text) {
    alertViewClickedButtonAtIndex(tag, index, text);
  };
  platform().alerts.show(std::move(prompt));
}

void Lumora::alertViewClickedButtonAtIndex(int alertTag, int buttonIndex, const std::string& text) {
  if (!CallGate::admits()) return;
  if (alertTag != addDeviceAlertTag || buttonIndex != yesButtonIndex) return;
  logLine("LumoraSDK-Button YES was selected for add test device");
  if (text.empty()) {
    // Not mixed up: here the title tells what to do.
    show("Error", "Please enter a valid name.");
    showDialog();
    return;
  }
  enqueue([this, text] { setAsTestDevice(takeToken(), text); });
}

void Lumora::setAsTestDevice(const std::optional<std::string>& registrationToken,
                             const std::optional<std::string>& deviceName) {
  sdkInitilizationWarning();
  if (LMRUtil::isStringEmpty(registrationToken) || LMRUtil::isStringEmpty(deviceName)) return;
  const auto response =
      networkManager_.getDataFromEndpoint(getTestRegistrationForToken(*registrationToken, *deviceName));
  const auto identifier = [] {
    return UIDeviceAdditionalInfo::sharedInstance().uniqueGlobalDeviceIdentifier();
  };
  const Value* success = response ? findValue(*response, "success") : nullptr;
  if (success && success->integerValue() != 0) {
    logLine("LumoraSDK- Successfully register this device as a developer test device/{}\n", identifier());
    LMRUtil::setObject(*deviceName, kLmroTestDeviceName);
    LMRUtil::setBool(true, kLmroTestDevice);
    show("This device has been successfully registered.", "Success!");
    return;
  }
  if (!response) {
    logLine("LumoraSDK-Failed to register this device as a developer test device/{}\n", identifier());
  }
  show("This device has already been registered, or the device name is already used.",
       "Device not registered");
}

std::string Lumora::getTestRegistrationForToken(const std::string& registrationToken,
                                                const std::string& deviceName) {
  const std::string pushToken = getPushDeviceToken();
  const std::string pushParameter = pushToken.empty() ? "" : fmt::format("&push_token={}", pushToken);
  // Escaped as a whole: a reserved character in the device's name stays as it is.
  return percentEscaped(fmt::format("{}?name={}{}&token={}&device_type={}", kLmroApiAddTestDevice, deviceName,
                                    pushParameter, registrationToken, LMRUtil::deviceType()));
}

void Lumora::show(const std::string& message, const std::string& withTitle) {
  platform().queues.mainQueue().async([message, withTitle] {
    Alert alert;
    alert.title = withTitle;
    alert.message = message;
    alert.buttons = {"OK"};
    platform().alerts.show(std::move(alert));
  });
}

std::optional<std::string> Lumora::token() const {
  Lock lock(textMutex_);
  return token_;
}

/// A token serves for one registration. It is taken with the reading, so that the token of a link that is
/// accepted meanwhile stays.
std::optional<std::string> Lumora::takeToken() {
  Lock lock(textMutex_);
  return std::exchange(token_, std::nullopt);
}

void Lumora::setToken(std::optional<std::string> token) {
  Lock lock(textMutex_);
  token_ = std::move(token);
}

}  // namespace lumora
