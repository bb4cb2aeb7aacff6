// The attributes of the person who uses the application. Lumora's queue reads them while the host may still
// write, hence the lock; what counts as an e-mail address is LMRUtil's to say.
#include "lumora/Facade/LumoraLead.h"

#include "lumora/Util/LMRUtil.h"

namespace lumora {

void LumoraLead::setEmail(const Text& email) {
  // A bad address leaves an earlier good one in place.
  if (email && LMRUtil::sharedInstance().isValidEmail(*email)) setKey(KEY_EMAIL, email);
}

void LumoraLead::setFieldName(const Text& name, const Text& value) {
  setKey(name, value);
}

void LumoraLead::setKey(const std::optional<std::string_view>& key, const Text& value) {
  if (!key || key->empty() || LMRUtil::isStringEmpty(value)) return;
  Lock lock(mutex_);
  userAttributes_.insert_or_assign(std::string(*key), *value);
}

Dictionary LumoraLead::userData() const {
  Lock lock(mutex_);
  return userAttributes_;
}

void LumoraLead::setUserAttributes(Dictionary attributes) {
  Lock lock(mutex_);
  userAttributes_ = std::move(attributes);
}

}  // namespace lumora
