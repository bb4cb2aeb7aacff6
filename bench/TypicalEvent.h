#pragma once

#include <memory>
#include <string>

#include "lumora/Platform/Value.h"

namespace lumora {
class LumoraActionMetaData;
}

namespace lumora_bench {

/// The action that the measures record: a purchase with a few details.
inline constexpr const char* kActionName = "coupon_applied";
std::shared_ptr<lumora::LumoraActionMetaData> typicalDetails();

/// Its record, built as the event logger builds it, and that record's text.
lumora::Dictionary typicalRecord(const lumora::Dictionary& details);
std::string typicalText();

}  // namespace lumora_bench
