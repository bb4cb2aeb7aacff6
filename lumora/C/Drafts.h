#pragma once

#include <memory>

#include "lumora/C/Arguments.h"
#include "lumora/C/Facade.h"
#include "lumora/Facade/Copies.h"

namespace lumora::c {

template <>
inline constexpr Kind kindOf<LumoraActionMetaData> = Kind::action;
template <>
inline constexpr Kind kindOf<LumoraLead> = Kind::lead;

/// Changes what a C caller fills in and hands over, perhaps several times. The library has it as it was at
/// that moment: while the library holds a share, the change goes to a copy, which takes the place.
template <typename Object, typename Change>
void changeDraft(lumora_handle handle, const Change& change) {
  const bool isFound = Handles::sharedInstance().use<Object>(handle, [&](std::shared_ptr<void>& draft) {
    if (draft.use_count() > 1) draft = copyOf(*static_cast<const Object*>(draft.get()));
    change(*static_cast<Object*>(draft.get()));
  });
  if (!isFound) fail(LUMORA_BAD_HANDLE);
}

}  // namespace lumora::c
