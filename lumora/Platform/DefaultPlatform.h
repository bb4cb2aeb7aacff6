#pragma once

#include "lumora/Platform/Platform.h"

namespace lumora {

/// The platform that is used when the host installs none. Defined by the platform implementation that is
/// linked; a library without one ends the program with a message that says so.
const Platform& defaultPlatform();

}  // namespace lumora
