#pragma once

#include <memory>

#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Facade/LumoraLead.h"

namespace lumora {

/// What a host filled in, as it is now: its own later changes are not seen.
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

}  // namespace lumora
