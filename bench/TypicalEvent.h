#pragma once

#include <string>

#include "bench/TypicalDetails.h"
#include "lumora/Platform/Value.h"

namespace lumora_bench {

/// The record of the action that the measures record, built as the event logger builds it, and that record's
/// text.
lumora::Dictionary typicalRecord(const lumora::Dictionary& details);
std::string typicalText();

}  // namespace lumora_bench
