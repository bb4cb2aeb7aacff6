// The image check of the shared library: asks the module beside it, which is loaded with the first picture
// and stays. Only this source and ImageModuleEntry.cpp know that there are two files.
#include <dlfcn.h>

#include <string>

#include "lumora/Platform/Linux/Images/ImageCheck.h"
#include "lumora/Platform/Platform.h"

namespace lumora {
namespace {

/// The module's path: it lies where this library lies, wherever that was moved to.
std::string modulePath() {
  static const char anchor = 0;
  Dl_info library{};
  const std::string own = ::dladdr(&anchor, &library) != 0 ? library.dli_fname : "";
  return own.substr(0, own.rfind('/') + 1) + LUMORA_IMAGE_MODULE;
}

/// Null, with a line, when there is no such module: then no picture can be shown.
ImageCheckFunction* loadImageCheck() {
  void* const module = ::dlopen(modulePath().c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const check = module ? ::dlsym(module, imageCheckSymbol) : nullptr;
  if (!check) {
    const char* const reason = ::dlerror();
    platform().log.write(std::string("LumoraSDK-Pictures cannot be read: ") +
                         (reason ? reason : "no reason"));
  }
  return reinterpret_cast<ImageCheckFunction*>(check);
}

}  // namespace

bool isWholeImage(std::string_view bytes) noexcept {
  static ImageCheckFunction* const check = loadImageCheck();
  return check && check(bytes.data(), bytes.size());
}

}  // namespace lumora
