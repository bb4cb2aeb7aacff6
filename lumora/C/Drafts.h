#pragma once

#include <memory>
#include <utility>

#include "lumora/C/Arguments.h"
#include "lumora/C/Facade.h"
#include "lumora/Platform/Mutex.h"

namespace lumora::c {

inline std::shared_ptr<LumoraActionMetaData> copyOf(const LumoraActionMetaData& details) {
  auto copy = std::make_shared<LumoraActionMetaData>();
  copy->setActionMetadata(details.actionMetadata());
  return copy;
}

inline std::shared_ptr<LumoraLead> copyOf(const LumoraLead& lead) {
  auto copy = std::make_shared<LumoraLead>();
  copy->setUserAttributes(lead.userData());
  return copy;
}

/// What a C caller fills in and hands over, perhaps several times: the library has what it was at that
/// moment. Most are handed over once, so that a copy is made only for a later change. Any thread.
template <typename Object>
class Draft {
 public:
  template <typename Change>
  void change(Change&& change) {
    Lock lock(mutex_);
    if (isHandedOver_) object_ = copyOf(*object_);
    isHandedOver_ = false;
    change(*object_);
  }
  std::shared_ptr<Object> handOver() {
    Lock lock(mutex_);
    isHandedOver_ = true;
    return object_;
  }

 private:
  Mutex mutex_;
  std::shared_ptr<Object> object_ LUMORA_GUARDED_BY(mutex_) = std::make_shared<Object>();
  bool isHandedOver_ LUMORA_GUARDED_BY(mutex_) = false;
};

using ActionDraft = Draft<LumoraActionMetaData>;
using LeadDraft = Draft<LumoraLead>;

template <>
inline constexpr Kind kindOf<ActionDraft> = Kind::action;
template <>
inline constexpr Kind kindOf<LeadDraft> = Kind::lead;

}  // namespace lumora::c
