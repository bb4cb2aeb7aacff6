#pragma once

#include "lumora/C/Handles.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Facade/LumoraLead.h"
#include "lumora/Util/LMRSecuritySignature.h"

namespace lumora::c {

template <>
inline constexpr Kind kindOf<LMRSecuritySignature> = Kind::signature;

inline Lumora& facade() {
  return Lumora::sharedInstance();
}

}  // namespace lumora::c
