// The two identifiers of this installation: read from where an earlier run left them, or made. Both lie in
// the settings store, the device's in the keychain too (UICKeyChainStore), which a reinstallation does not
// empty.
#include "lumora/Util/UIDeviceAdditionalInfo.h"

#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/LogRefusal.h"
#include "lumora/Util/UICKeyChainStore.h"

namespace lumora {
namespace {

std::optional<std::string> storedText(std::string_view key) {
  const Value stored = platform().settings.object(key);
  if (const auto* text = stored.asString()) return *text;
  return std::nullopt;
}

std::string deviceIdentifierKey() {
  return std::string(kOstrelAppIDDefaultsKey) +
         platform().bundle.infoValue(kBundleIdentifierKey).value_or("");
}

/// Stores a text under a key that had none, and gives the one to use: another process at its first run may
/// have been faster.
std::string agreedText(std::string_view key, const std::string& text) {
  std::string agreed = text;
  logRefusalOf([&] {
    const Value stored = platform().settings.setObjectIfAbsent(key, text);
    if (const auto* present = stored.asString()) {
      agreed = *present;
    } else {
      LMRUtil::setObject(text, key);  // What is no text counts as absent.
    }
  });
  return agreed;
}

std::string loadOrMakeDeviceIdentifier() {
  const std::string key = deviceIdentifierKey();
  if (auto stored = storedText(key)) return *stored;
  if (auto kept = UICKeyChainStore::stringForKey(key, std::nullopt)) return agreedText(key, *kept);
  std::string made = agreedText(key, platform().uuids.randomUUID());
  // A keychain that refuses costs only the survival of a reinstallation.
  UICKeyChainStore::setString(made, key, std::nullopt);
  return made;
}

}  // namespace

UIDeviceAdditionalInfo& UIDeviceAdditionalInfo::sharedInstance() {
  static auto* const instance = [] {
    auto* const made = new UIDeviceAdditionalInfo;
    // The line that names the identifier comes with the first use of either.
    made->installIdentifier();
    return made;
  }();
  return *instance;
}

std::string UIDeviceAdditionalInfo::installIdentifier() {
  Lock lock(mutex_);
  if (installIdentifier_) return *installIdentifier_;
  installIdentifier_ = storedText(kOstrelAppIDDefaultsKey);
  if (!installIdentifier_) {
    installIdentifier_ = agreedText(kOstrelAppIDDefaultsKey, platform().uuids.randomUUID());
  }
  logLine("LumoraSDK-Current UUID is : {} ", *installIdentifier_);
  return *installIdentifier_;
}

std::string UIDeviceAdditionalInfo::uniqueGlobalDeviceIdentifier() {
  Lock lock(mutex_);
  if (!uniqueGlobalDeviceIdentifier_) uniqueGlobalDeviceIdentifier_ = loadOrMakeDeviceIdentifier();
  return *uniqueGlobalDeviceIdentifier_;
}

}  // namespace lumora
