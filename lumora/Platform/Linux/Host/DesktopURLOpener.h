#pragma once

#include "lumora/Platform/URL.h"

namespace lumora {

/// Starts `xdg-open` with the URL as its one argument. Returns false when the program cannot be started, when
/// the URL has no scheme (it could be taken for an option or a path), and for files, which nothing that came
/// over the network may name.
bool openURLOnDesktop(const URL& url);

}  // namespace lumora
