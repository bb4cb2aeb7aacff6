// The details of a custom action, under the host's keys and the library's. Lumora's queue reads them while
// the host may still write, hence the lock; what a record looks like is in LMREventLoggerRecords.cpp.
#include "lumora/Facade/LumoraActionMetaData.h"

#include "lumora/Util/LMRUtil.h"

namespace lumora {

void LumoraActionMetaData::setKey(const std::optional<std::string_view>& key, const Text& value) {
  if (!key || key->empty() || LMRUtil::isStringEmpty(value)) return;
  Lock lock(mutex_);
  actionMetadata_.insert_or_assign(std::string(*key), *value);
}

void LumoraActionMetaData::setNumber(std::string_view key, const Value& number) {
  if (LMRUtil::isObjectNull(number)) return;
  Lock lock(mutex_);
  actionMetadata_.insert_or_assign(std::string(key), number);
}

Dictionary LumoraActionMetaData::actionMetadata() const {
  Lock lock(mutex_);
  return actionMetadata_;
}

void LumoraActionMetaData::setActionMetadata(Dictionary metadata) {
  Lock lock(mutex_);
  actionMetadata_ = std::move(metadata);
}

}  // namespace lumora
