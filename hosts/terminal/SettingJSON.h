#pragma once

#include "lumora/Platform/Value.h"

namespace lumora_host {

/// Settings hold dates and bytes, which JSON has no form for. A date is written as
/// {"date": seconds since 1970-01-01 UTC}, bytes as {"base64": text}; both may lie anywhere in the value.
lumora::Value settingToJSON(const lumora::Value& value);

/// The reverse. Throws a CommandError when a {"date": …} holds no number or a {"base64": …} no base64.
lumora::Value settingFromJSON(const lumora::Value& json);

}  // namespace lumora_host
