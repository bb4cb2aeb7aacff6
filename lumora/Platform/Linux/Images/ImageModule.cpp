// The image check of the shared library: asks the module beside it, which is loaded with the first picture
// and stays. Only this source and ImageModuleEntry.cpp know that there are two files.
#include "lumora/Platform/Linux/Images/ImageCheck.h"
#include "lumora/Platform/Linux/Modules/LoadModule.h"

namespace lumora {

/// Without the module no picture can be shown.
bool isWholeImage(std::string_view bytes) noexcept {
  static auto* const check = reinterpret_cast<ImageCheckFunction*>(
      functionOfModule(LUMORA_IMAGES_MODULE, imageCheckSymbol, "Pictures cannot be read"));
  return check && check(bytes.data(), bytes.size());
}

}  // namespace lumora
