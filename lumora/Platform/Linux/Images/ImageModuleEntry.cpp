// The one name that the module of the image formats offers to the shared library.
#include "lumora/Platform/Export.h"
#include "lumora/Platform/Linux/Images/ImageCheck.h"

extern "C" LUMORA_EXPORT bool lumoraIsWholeImage(const char* bytes, std::size_t count) noexcept {
  return lumora::isWholeImage({bytes, count});
}
