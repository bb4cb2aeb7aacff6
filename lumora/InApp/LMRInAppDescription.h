#pragma once

#include <cstdint>

#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/InApp/LMRTappable.h"
#include "lumora/Platform/Export.h"
#include "lumora/Platform/Value.h"

namespace lumora {

/// The button types that the message screens of this library give to their tappable elements.
inline constexpr std::int32_t kLmroCloseButtonType = kLmroNoCallToAction;
inline constexpr std::int32_t kLmroPrimaryButtonType = 102;
inline constexpr std::int32_t kLmroSecondaryButtonType = 103;
inline constexpr std::int32_t kLmroImageType = 104;
inline constexpr std::int32_t kLmroBackgroundType = 105;

/// What a message screen draws, as a JSON object: "campaign", "container", "layout", "frequency", and
/// "elements" with an entry for each part that the message has.
///
/// An entry holds the fields of its component under their own names. Values that the campaign does not give
/// are left out; codes and flags are always there, 0 and false when not given. A part with a picture that is
/// in the cache has its path as "file". The tappable parts (all but the two texts) also have "type" and
/// "action", the latter null when a tap only closes the message.
///
/// Any thread; only asks the cache which files exist, downloads nothing.
LUMORA_EXPORT Dictionary describeInAppMessage(const LMRInAppMessage& message);

}  // namespace lumora
