// Loads what only some processes need: ImageModule.cpp and NetworkModule.cpp say what that is. Part of the
// shared library alone; an archive holds all of it.
#include "lumora/Platform/Linux/Modules/LoadModule.h"

#include <dlfcn.h>

#include <string>

#include "lumora/Platform/Platform.h"

namespace lumora {
namespace {

/// The folder of this library, wherever that was moved to, with a slash.
std::string ownFolder() {
  static const char anchor = 0;
  Dl_info library{};
  const std::string own = ::dladdr(&anchor, &library) != 0 ? library.dli_fname : "";
  return own.substr(0, own.rfind('/') + 1);
}

}  // namespace

void* functionOfModule(const char* module, const char* function, std::string_view complaint) {
  void* const loaded = ::dlopen((ownFolder() + module).c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const found = loaded ? ::dlsym(loaded, function) : nullptr;
  if (!found) {
    const char* const reason = ::dlerror();
    platform().log.write("LumoraSDK-" + std::string(complaint) + ": " + (reason ? reason : "no reason"));
  }
  return found;
}

}  // namespace lumora
