#pragma once

#include <memory>

#include "lumora/Facade/LumoraActionMetaData.h"

namespace lumora_bench {

/// The action that the measures record: a purchase with a few details.
inline constexpr const char* kActionName = "coupon_applied";
std::shared_ptr<lumora::LumoraActionMetaData> typicalDetails();

}  // namespace lumora_bench
