#pragma once

#include <string_view>

#include "lumora/Platform/Export.h"

namespace lumora {

/// Whether this process is a copy, made by `fork`, of one that had its platform already. Such a child has
/// none of the library's threads, and perhaps locks that one of them held and that nobody releases: the
/// library asks this ahead of every lock and does nothing in it. Costs one relaxed read.
LUMORA_EXPORT bool isForkedChild() noexcept;

/// For platforms: says so, in the child, from the handler that the system calls there (`pthread_atfork`). The
/// Linux platform does this by itself. Async-signal-safe; for good, and for the child's own children too.
/// `write` gets the one line that tells of ignored calls, and must take no lock.
LUMORA_EXPORT void becomeForkedChild(void (*write)(std::string_view line)) noexcept;

/// Writes a line in the child without the host's log, which may hold an inherited lock.
void writeInForkedChild(std::string_view line) noexcept;

}  // namespace lumora
