#include "lumora/Util/UIDeviceAdditionalInfo.h"

#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"
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

std::string loadOrMakeDeviceIdentifier() {
  const std::string key = deviceIdentifierKey();
  if (auto stored = storedText(key)) return *stored;
  if (auto kept = UICKeyChainStore::stringForKey(key, std::nullopt)) {
    LMRUtil::setObject(*kept, key);
    return *kept;
  }
  const std::string made = platform().uuids.randomUUID();
  LMRUtil::setObject(made, key);
  // A keychain that refuses costs only the survival of a reinstallation.
  UICKeyChainStore::setString(made, key, std::nullopt);
  return made;
}

}  // namespace

UIDeviceAdditionalInfo& UIDeviceAdditionalInfo::sharedInstance() {
  static auto* const instance = [] {
    auto* const made = new UIDeviceAdditionalInfo;
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
    installIdentifier_ = platform().uuids.randomUUID();
    LMRUtil::setObject(*installIdentifier_, kOstrelAppIDDefaultsKey);
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
