#pragma once

#include "lumora/Platform/Linux/LinuxPlatform.h"

namespace lumora::bindings {

/// The options with folders that are the application's own. A runtime is one program for all the applications
/// that it runs, so the bundle identifier takes the place of the program's name; a host without one, or whose
/// identifier is no name of a folder, keeps the runtime's.
LinuxPlatformOptions withOwnFolders(LinuxPlatformOptions options);

}  // namespace lumora::bindings
